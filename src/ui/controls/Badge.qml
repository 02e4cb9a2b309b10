import QtQuick

/// The state of a thing in a word or two.
Rectangle {
    id: badge

    property string text: ""
    property string kind: "info" // or good, warning, error

    readonly property color tone: kind === "good" ? Theme.good : kind === "warning" ? Theme.works
                                : kind === "error" ? Theme.danger : Theme.faint

    visible: text !== ""
    implicitWidth: caption.implicitWidth + Theme.unit * 2
    implicitHeight: Math.round(Theme.noteSize * 1.9)
    radius: height / 2
    color: Qt.rgba(tone.r, tone.g, tone.b, Theme.dark ? 0.16 : 0.1)
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Text {
        id: caption

        anchors.centerIn: parent
        text: badge.text
        font.family: Theme.family
        font.pixelSize: Theme.noteSize
        font.weight: Font.Medium
        color: badge.tone
        Accessible.ignored: true
    }
}
