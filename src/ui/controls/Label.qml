import QtQuick

/// Text of the normal size.
Text {
    font.family: Theme.family
    font.pixelSize: Theme.textSize
    color: Theme.text
    wrapMode: Text.Wrap
    textFormat: Text.PlainText // what people and services wrote is never taken for markup
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
