import QtQuick

/// A key of the keyboard, drawn as one.
Rectangle {
    property string text: ""
    property bool pressed: false

    implicitWidth: Math.max(implicitHeight, caption.implicitWidth + Theme.unit * 2)
    implicitHeight: Math.round(Theme.textSize * 2.2)
    radius: Theme.half + 2
    color: pressed ? Theme.accent : Theme.field
    border.color: pressed ? Theme.accent : Theme.edge
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Rectangle { // the front of the key
        visible: !parent.pressed
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: 1 }
        height: 3
        radius: 3
        color: Theme.line
    }
    Text {
        id: caption

        anchors.centerIn: parent
        text: parent.text
        font.family: Theme.family
        font.pixelSize: Theme.textSize
        font.weight: Font.Medium
        color: parent.pressed ? Theme.accentInk : Theme.text
        Accessible.ignored: true
    }
}
