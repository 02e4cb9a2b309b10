pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Meeting

/// Before a session: what it is to be, and the newest ones of the archive.
Page {
    id: face

    required property MeetingAdapter meeting
    signal settingsWanted(string section)

    heading: meeting.isTranscription ? "Transcribe as it is said" : "Record a meeting"
    introduction: meeting.isTranscription
        ? "The text appears within seconds, from one speaker."
        : "Fenlo writes down who says what, and makes notes of it afterwards."

    Notices {
        notices: face.meeting.notices
        onClosed: text => face.meeting.closeNotice(text)
    }
    FormGroup {
        FormRow {
            title: "Mode"

            ChoicePill {
                text: "Meeting"
                isChosen: !face.meeting.isTranscription
                onChosen: face.meeting.isTranscription = false
            }
            ChoicePill {
                text: "Transcription"
                isChosen: face.meeting.isTranscription
                onChosen: face.meeting.isTranscription = true
            }
        }
        FormRow {
            title: "Topic"
            stacked: true

            Field {
                name: "Topic"
                placeholderText: "Topic (optional)"
                text: face.meeting.subject
                focus: true
                Layout.fillWidth: true
                onTextEdited: face.meeting.subject = text
                onAccepted: face.meeting.start()
            }
        }
        FormRow {
            title: "Template"
            hint: "What the notes stress"
            stacked: true
            visible: !face.meeting.isTranscription

            Flow {
                spacing: Theme.unit
                Layout.fillWidth: true

                Repeater {
                    model: face.meeting.templates

                    ChoicePill {
                        required property var modelData

                        text: modelData.label
                        isChosen: face.meeting.meetingTemplate === modelData.value
                        onChosen: face.meeting.meetingTemplate = modelData.value
                    }
                }
            }
        }
        FormRow {
            title: "Capture system audio"
            hint: "Also what this computer plays, such as the others in a call"

            Toggle {
                value: face.meeting.captureSystemAudio
                Accessible.name: "Capture system audio"
                onChosen: on => face.meeting.captureSystemAudio = on
            }
        }
    }
    PrimaryButton {
        text: face.meeting.startCaption
        implicitHeight: Math.round(Theme.controlHeight * 1.2)
        leftPadding: Theme.unit * 4
        rightPadding: Theme.unit * 4
        Layout.alignment: Qt.AlignHCenter
        onClicked: face.meeting.start()
    }
    Notices {
        notices: face.meeting.setUpHint
        onSettingsWanted: section => face.settingsWanted(section)
    }
    ColumnLayout {
        visible: face.meeting.recent.count > 0
        spacing: Theme.unit
        Layout.fillWidth: true

        RowLayout {
            Layout.fillWidth: true

            Text {
                text: "Recent"
                font.family: Theme.family
                font.pixelSize: Theme.headingSize
                font.weight: Font.DemiBold
                color: Theme.text
                Layout.fillWidth: true
                Layout.leftMargin: Theme.half
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            LinkButton {
                text: "View All"
                onClicked: face.meeting.showMeetingHistory = true
            }
        }
        Rectangle {
            color: Theme.card
            radius: Theme.cardRadius
            border.color: Theme.line
            implicitHeight: rows.implicitHeight + 2
            Layout.fillWidth: true

            ColumnLayout {
                id: rows

                x: 1
                y: 1
                width: parent.width - 2
                spacing: 0
                Accessible.role: Accessible.List
                Accessible.name: "Recent"

                Repeater {
                    model: face.meeting.recent

                    MeetingRow {
                        Layout.fillWidth: true
                        onPicked: face.meeting.select(meetingId)
                    }
                }
            }
        }
    }
}
