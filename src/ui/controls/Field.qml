import QtQuick
import QtQuick.Controls.Basic

/// One line of text.
TextField {
    id: control

    property string name: "" // for screen readers

    implicitHeight: Theme.controlHeight
    implicitWidth: Theme.unit * 30
    leftPadding: Theme.unit * 1.5
    rightPadding: Theme.unit * 1.5
    topPadding: 0
    bottomPadding: 0
    verticalAlignment: TextInput.AlignVCenter
    font.family: Theme.family
    font.pixelSize: Theme.textSize
    color: Theme.text
    placeholderTextColor: Theme.faint
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentInk
    selectByMouse: true
    Accessible.name: name

    background: Rectangle {
        radius: Theme.radius
        color: Theme.field
        border.color: control.activeFocus ? Theme.accent : Theme.edge
        border.width: control.activeFocus ? 2 : 1
    }
}
