import QtQuick
import QtQuick.Controls.Basic

/// A switch. Bind `checked` to the model and change the model in `onToggled`; the binding holds.
Switch {
    id: control

    property bool value: false // what the model says
    /// The user wants the other value.
    signal chosen(bool on)

    checked: value
    padding: 0
    implicitWidth: indicator.implicitWidth
    implicitHeight: Theme.controlHeight
    opacity: enabled ? 1 : 0.45
    onToggled: decide()
    onValueChanged: checked = value
    Accessible.onToggleAction: act()
    Accessible.onPressAction: act()
    Keys.onReturnPressed: act()

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

    contentItem: null
    indicator: Rectangle {
        implicitWidth: Math.round(Theme.textSize * 2.9)
        implicitHeight: Math.round(Theme.textSize * 1.6)
        y: (control.height - height) / 2
        radius: height / 2
        color: control.checked ? Theme.accent : "transparent"
        border.color: control.checked ? Theme.accent : Theme.edge
        border.width: 1

        Rectangle {
            readonly property real room: 3

            width: parent.height - 2 * room
            height: width
            radius: width / 2
            y: room
            x: (control.checked !== control.mirrored) ? parent.width - width - room : room
            color: control.checked ? Theme.accentInk : Theme.edge

            Behavior on x { NumberAnimation { duration: Theme.quick } }
        }
        FocusRing { visible: control.visualFocus; around: parent.radius }
    }
}
