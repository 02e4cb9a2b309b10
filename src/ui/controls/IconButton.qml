import QtQuick
import QtQuick.Controls.Basic

/// A button with a sign in place of a word. `name` is what a screen reader says and the tip shows.
BaseButton {
    id: control

    required property string name
    required property string sign // one character of the font

    implicitWidth: Theme.controlHeight
    leftPadding: 0
    rightPadding: 0
    text: sign
    Accessible.name: name
    ToolTip.text: name
    ToolTip.visible: hovered || visualFocus
    ToolTip.delay: 700
}
