import QtQuick

/// Small text below or beside something.
Text {
    font.family: Theme.family
    font.pixelSize: Theme.noteSize
    color: Theme.faint
    wrapMode: Text.Wrap
    textFormat: Text.PlainText // what people and services wrote is never taken for markup
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
