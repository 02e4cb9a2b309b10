import QtQuick
import QtQuick.Layouts

/// A message in the place that it is about. Seen, and told to screen readers, while it has a text.
Rectangle {
    id: notice

    property string kind: "info" // or good, warning, error
    property string text: ""
    property string action: "" // the caption of its button
    property bool canClose: false // by the user, who has read it
    signal acted
    signal closed

    readonly property color tone: kind === "good" ? Theme.good : kind === "warning" ? Theme.works
                                : kind === "error" ? Theme.danger : Theme.accent

    visible: text !== ""
    implicitHeight: visible ? content.implicitHeight + Theme.unit * 2 : 0
    implicitWidth: Theme.textSize * 24
    Layout.fillWidth: true
    radius: Theme.radius
    color: Qt.rgba(tone.r, tone.g, tone.b, Theme.dark ? 0.14 : 0.08)
    border.color: Qt.rgba(tone.r, tone.g, tone.b, 0.4)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    RowLayout {
        id: content

        x: Theme.unit * 1.5
        width: parent.width - 2 * x
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.unit * 1.5

        Rectangle {
            implicitWidth: Theme.unit
            implicitHeight: Theme.unit
            radius: width / 2
            color: notice.tone
            Layout.alignment: caption.lineCount > 1 ? Qt.AlignTop : Qt.AlignVCenter
            Layout.topMargin: caption.lineCount > 1 ? Theme.textSize * 0.35 : 0
        }
        Label {
            id: caption

            text: notice.text
            Layout.fillWidth: true
            Accessible.ignored: true
        }
        PlainButton {
            text: notice.action
            visible: text !== ""
            onClicked: notice.acted()
        }
        IconButton {
            name: "Close this notice"
            sign: "✕"
            visible: notice.canClose
            implicitHeight: Math.round(Theme.textSize * 1.8)
            implicitWidth: implicitHeight
            Layout.alignment: Qt.AlignTop
            onClicked: notice.closed()
        }
    }
}
