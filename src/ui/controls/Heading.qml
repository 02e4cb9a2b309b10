import QtQuick

Text {
    font.family: Theme.family
    font.pixelSize: Theme.titleSize
    font.weight: Font.DemiBold
    color: Theme.text
    wrapMode: Text.Wrap
    Accessible.role: Accessible.Heading
    Accessible.name: text
}
