pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Meeting

/// A transcription that has just ended: the text, and where it goes.
FocusScope {
    id: face

    required property MeetingAdapter meeting

    ColumnLayout {
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter; margins: Theme.unit * 3 }
        width: Math.min(parent.width - 6 * Theme.unit, Theme.textSize * 55)
        spacing: Theme.unit * 2

        Heading {
            text: face.meeting.endedTitle
            Layout.fillWidth: true
        }
        Notices {
            notices: face.meeting.notices
            onClosed: text => face.meeting.closeNotice(text)
        }
        Flow {
            spacing: Theme.unit
            Layout.fillWidth: true

            PrimaryButton {
                text: face.meeting.hasCopiedTranscript ? "Copied" : "Copy All"
                focus: true
                enabled: face.meeting.hasTranscript
                onClicked: face.meeting.copyAll()
            }
            PlainButton {
                text: "Export .md"
                enabled: face.meeting.hasTranscript
                onClicked: face.meeting.outlet.exportMeeting(face.Window.window)
            }
            PlainButton {
                text: face.meeting.outlet.emailStatus || "Email"
                enabled: face.meeting.hasTranscript && !face.meeting.outlet.isSending
                onClicked: face.meeting.outlet.email()
            }
            PlainButton {
                text: "New Session"
                onClicked: face.meeting.newMeeting()
            }
        }
        Rectangle {
            color: Theme.card
            radius: Theme.cardRadius
            border.color: Theme.line
            Layout.fillWidth: true
            Layout.fillHeight: true

            TranscriptView {
                anchors.fill: parent
                anchors.margins: Theme.unit
                transcript: face.meeting.transcript
                session: face.meeting
            }
        }
    }
}
