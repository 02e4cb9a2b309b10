import QtQuick
import QtQuick.Controls.Basic

/// A small thing that can be chosen among others. `value` is what the model says.
AbstractButton {
    id: control

    property bool value: false
    /// The user wants the other value.
    signal chosen(bool on)

    implicitHeight: Math.round(Theme.textSize * 2.2)
    leftPadding: Theme.unit * 1.5
    rightPadding: Theme.unit * 1.5
    onClicked: control.chosen(!control.value)
    Keys.onReturnPressed: control.clicked()
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: value
    Accessible.onPressAction: control.clicked()
    Accessible.onToggleAction: control.clicked()

    contentItem: Text {
        text: control.text
        font.family: Theme.family
        font.pixelSize: Theme.textSize
        font.weight: control.value ? Font.DemiBold : Font.Normal
        color: control.value ? Theme.accent : Theme.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: height / 2
        color: control.value ? Theme.tint : control.hovered ? Theme.hover : Theme.field
        border.color: control.value ? Theme.accent : Theme.edge

        FocusRing { visible: control.visualFocus; around: parent.radius }
    }
}
