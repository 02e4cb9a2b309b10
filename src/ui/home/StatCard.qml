import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

/// A number, large, and what it counts.
Rectangle {
    id: card

    property string value: ""
    property string label: ""
    property string spoken: "" // both

    implicitHeight: column.implicitHeight + Theme.unit * 3
    implicitWidth: Math.max(Theme.textSize * 9, column.implicitWidth + Theme.unit * 4)
    Layout.fillWidth: true
    Layout.preferredWidth: 1 // all as wide as each other
    Layout.minimumWidth: implicitWidth
    radius: Theme.cardRadius
    color: Theme.card
    border.color: Theme.line
    Accessible.role: Accessible.StaticText
    Accessible.name: spoken

    ColumnLayout {
        id: column

        anchors { left: parent.left; leftMargin: Theme.unit * 2; verticalCenter: parent.verticalCenter }
        spacing: 0

        Text {
            text: card.value
            textFormat: Text.PlainText
            font.family: Theme.family
            font.pixelSize: Theme.figureSize
            font.weight: Font.DemiBold
            color: Theme.text
            Accessible.ignored: true
        }
        Note {
            text: card.label
            Accessible.ignored: true
        }
    }
}
