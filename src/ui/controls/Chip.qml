import QtQuick
import QtQuick.Controls.Basic

/// A small thing that can be chosen among others. `value` is what the model says.
CheckBox {
    id: control

    property bool value: false
    /// The user wants the other value.
    signal chosen(bool on)

    checked: value
    padding: 0
    leftPadding: Theme.unit * 1.5
    rightPadding: Theme.unit * 1.5
    implicitHeight: Math.round(Theme.textSize * 2.2)
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    onToggled: decide()
    Keys.onReturnPressed: act()
    Accessible.name: text
    Accessible.onPressAction: act()
    Accessible.onToggleAction: act()

    // Screen readers' actions come to disabled controls too.
    function act() {
        if (!control.enabled)
            return
        control.toggle()
        control.decide()
    }
    // The model may refuse: what is shown is then its value again.
    function decide() {
        const wanted = control.checked
        control.chosen(wanted)
        control.checked = Qt.binding(() => control.value)
    }

    indicator: null
    contentItem: Text {
        text: control.text
        font.family: Theme.family
        font.pixelSize: Theme.textSize
        font.weight: control.checked ? Font.DemiBold : Font.Normal
        color: control.checked ? Theme.accent : Theme.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: height / 2
        color: control.checked ? Theme.tint : control.hovered ? Theme.hover : Theme.field
        border.color: control.checked ? Theme.accent : Theme.edge

        FocusRing { visible: control.visualFocus; around: parent.radius }
    }
}
