import QtQuick
import Fenlo.Controls

/// The round sign of a speaker, in a colour of their own.
Rectangle {
    property string initial: ""
    property real hue: 0 // 0 to 1

    implicitWidth: Math.round(Theme.textSize * 2)
    implicitHeight: implicitWidth
    radius: width / 2
    color: Qt.hsla(hue, Theme.dark ? 0.55 : 0.6, Theme.dark ? 0.7 : 0.32, 1)
    Accessible.ignored: true

    Text {
        anchors.centerIn: parent
        text: parent.initial
        font.family: Theme.family
        font.pixelSize: Theme.textSize
        font.weight: Font.DemiBold
        color: Theme.dark ? "#141417" : "#FFFFFF"
        Accessible.ignored: true
    }
}
