import QtQuick

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

    Tip {
        text: control.name
        isWanted: control.hovered || control.visualFocus
    }
}
