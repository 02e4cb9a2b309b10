import QtQuick
import QtQuick.Controls.Basic

/// An entry of an ActionMenu.
MenuItem {
    id: item

    property color ink: Theme.text

    implicitHeight: Theme.controlHeight
    leftPadding: Theme.unit * 1.5
    rightPadding: Theme.unit * 1.5
    topPadding: 0
    bottomPadding: 0
    font.family: Theme.family
    font.pixelSize: Theme.textSize
    Accessible.name: text
    Accessible.onPressAction: {
        item.triggered()
        item.menu.dismiss()
    }

    contentItem: Text {
        text: item.text
        font: item.font
        color: item.ink
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Theme.half
        color: item.highlighted ? Theme.tint : "transparent"
    }
}
