import QtQuick

/// Shows who has the keyboard, around its parent.
Rectangle {
    property real around: Theme.radius

    anchors.fill: parent
    anchors.margins: -3
    radius: around + 3
    color: "transparent"
    border.color: Theme.accent
    border.width: 2
}
