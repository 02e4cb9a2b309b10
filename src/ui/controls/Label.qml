import QtQuick

/// Text of the normal size.
Text {
    font.family: Theme.family
    font.pixelSize: Theme.textSize
    color: Theme.text
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
