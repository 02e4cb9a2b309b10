pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Meeting

/// While a session runs: how long and how loud it is, what was said, and the user's own notes.
FocusScope {
    id: face

    required property MeetingAdapter meeting

    readonly property bool isWide: width > Theme.textSize * 56
    readonly property real margin: Theme.unit * 2

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: face.margin
        spacing: Theme.unit * 2

        Rectangle {
            color: Theme.card
            radius: Theme.cardRadius
            border.color: Theme.line
            implicitHeight: head.implicitHeight + Theme.unit * 3
            Layout.fillWidth: true

            GridLayout {
                id: head

                x: Theme.unit * 2
                width: parent.width - 2 * x
                anchors.verticalCenter: parent.verticalCenter
                columns: face.isWide ? 3 : 2
                columnSpacing: Theme.unit * 3
                rowSpacing: Theme.unit

                RowLayout {
                    spacing: Theme.unit * 1.5
                    Layout.row: 0
                    Layout.column: 0

                    Rectangle { // is on, and does not blink
                        implicitWidth: Theme.unit * 1.25
                        implicitHeight: implicitWidth
                        radius: width / 2
                        color: Theme.danger
                    }
                    ColumnLayout {
                        spacing: 0

                        Label {
                            text: face.meeting.activeTitle
                            font.weight: Font.DemiBold
                        }
                        Note { text: face.meeting.countText }
                    }
                    Label {
                        text: face.meeting.elapsed
                        font.pixelSize: Theme.titleSize
                        font.weight: Font.DemiBold
                        wrapMode: Text.NoWrap
                        Layout.leftMargin: Theme.unit
                        Layout.minimumWidth: Theme.titleSize * 3
                        Accessible.name: "Elapsed " + text
                    }
                }
                LiveWaveformView {
                    level: face.meeting.audioLevel
                    barCount: Math.max(8, Math.min(48, Math.floor((face.isWide ? head.width - Theme.textSize * 40 : head.width) / 7)))
                    Layout.row: face.isWide ? 0 : 1
                    Layout.column: face.isWide ? 1 : 0
                    Layout.columnSpan: face.isWide ? 1 : 2
                    Layout.fillWidth: true
                }
                RowLayout {
                    spacing: Theme.unit
                    Layout.row: 0
                    Layout.column: face.isWide ? 2 : 1
                    Layout.alignment: Qt.AlignRight

                    PlainButton {
                        text: face.meeting.hasCopiedTranscript ? "Copied" : "Copy All"
                        enabled: face.meeting.hasTranscript
                        onClicked: face.meeting.copyAll()
                    }
                    PrimaryButton {
                        text: face.meeting.stopCaption
                        onClicked: face.meeting.stop()
                    }
                }
            }
        }
        Notices {
            notices: face.meeting.notices
            onClosed: text => face.meeting.closeNotice(text)
        }
        GridLayout {
            columns: face.isWide ? 2 : 1
            columnSpacing: Theme.unit * 2
            rowSpacing: Theme.unit * 2
            Layout.fillWidth: true
            Layout.fillHeight: true

            Rectangle {
                color: Theme.card
                radius: Theme.cardRadius
                border.color: Theme.line
                Layout.fillWidth: true
                Layout.fillHeight: true

                TranscriptView {
                    anchors.fill: parent
                    anchors.margins: Theme.unit
                    focus: true
                    visible: face.meeting.transcript.count > 0
                    transcript: face.meeting.transcript
                    isLive: true
                    session: face.meeting
                }
                EmptyState {
                    anchors.centerIn: parent
                    visible: face.meeting.transcript.count === 0
                    title: "Listening..."
                    text: face.meeting.hint
                }
            }
            TextBox {
                name: "Notes"
                placeholder: face.meeting.notesPrompt
                Layout.preferredWidth: face.isWide ? Math.round(face.width * 0.33) : face.width
                Layout.maximumWidth: face.isWide ? Math.round(face.width * 0.33) : face.width
                Layout.preferredHeight: Theme.textSize * 8
                Layout.fillWidth: !face.isWide
                Layout.fillHeight: face.isWide
                Component.onCompleted: text = face.meeting.userNotes
                onTextChanged: if (text !== face.meeting.userNotes) face.meeting.userNotes = text
            }
        }
    }
}
