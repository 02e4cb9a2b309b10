pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Meeting

/// A meeting of the archive: its notes, its transcript, and what can be done with them.
Page {
    id: face

    required property MeetingAdapter meeting
    signal settingsWanted(string section)

    readonly property PastMeetingAdapter past: meeting.past

    Keys.onEscapePressed: face.past.back()

    // What had the keyboard may have gone with the offer.
    readonly property bool offers: past.canSummarize
    onOffersChanged: if (!offers) back.forceActiveFocus(Qt.OtherFocusReason)

    function cancelPrompt() {
        past.showSummarizePrompt = false
        offer.forceActiveFocus(Qt.OtherFocusReason)
    }

    RowLayout {
        spacing: Theme.unit
        Layout.fillWidth: true

        IconButton {
            id: back

            name: "Back"
            sign: "‹"
            font.pixelSize: Theme.titleSize
            focus: true
            Layout.alignment: Qt.AlignTop
            onClicked: face.past.back()
        }
        ColumnLayout {
            spacing: 2
            Layout.fillWidth: true

            Heading {
                text: face.past.title
                textFormat: Text.PlainText
                Layout.fillWidth: true
            }
            Note {
                text: face.past.details
                Layout.fillWidth: true
            }
        }
    }
    Notices {
        notices: face.past.notices
        onSettingsWanted: section => face.settingsWanted(section)
        onClosed: face.past.closeNotice()
    }
    ColumnLayout {
        spacing: Theme.unit
        Layout.fillWidth: true

        Flow {
            spacing: Theme.unit
            Layout.fillWidth: true

            PlainButton {
                text: face.past.outlet.emailStatus || "Email"
                enabled: !face.past.outlet.isSending
                onClicked: face.past.outlet.email()
            }
            PlainButton {
                text: "Export .md"
                onClicked: face.past.outlet.exportMeeting(face.Window.window)
            }
            PlainButton {
                text: "Delete…"
                ink: Theme.danger
                Accessible.name: "Delete meeting"
                onClicked: question.open()
            }
        }
        RecipientsView {
            outlet: face.past.outlet
        }
    }
    FormGroup {
        visible: face.past.canSummarize

        FormRow {
            title: face.past.showSummarizePrompt ? "Anything specific to focus on?" : "Summarize Meeting"
            hint: face.past.showSummarizePrompt ? "" : "AI will generate key decisions, action items, and more"
            stacked: face.past.showSummarizePrompt

            PrimaryButton {
                id: offer

                text: "Summarize Meeting"
                visible: !face.past.showSummarizePrompt
                onClicked: {
                    face.past.showSummarizePrompt = true
                    focusField.forceActiveFocus(Qt.TabFocusReason)
                }
            }
            Flow {
                visible: face.past.showSummarizePrompt
                spacing: Theme.unit
                Layout.fillWidth: true

                Field {
                    id: focusField

                    name: "Anything specific to focus on?"
                    placeholderText: "e.g. \"action items only\", \"client feedback\""
                    text: face.past.focusInstruction
                    width: Math.min(parent.width, Theme.textSize * 26)
                    onTextEdited: face.past.focusInstruction = text
                    onAccepted: face.past.summarize()
                    Keys.onEscapePressed: face.cancelPrompt()
                }
                PrimaryButton {
                    text: face.past.summarizeCaption
                    onClicked: face.past.summarize()
                }
                PlainButton {
                    text: "Cancel"
                    onClicked: face.cancelPrompt()
                }
            }
        }
    }
    Notices {
        notices: face.past.hint
        onSettingsWanted: section => face.settingsWanted(section)
    }
    Busy {
        text: face.past.isGenerating ? "Generating summary..." : ""
    }
    Rectangle {
        visible: face.past.notes.length > 0
        color: Theme.card
        radius: Theme.cardRadius
        border.color: Theme.line
        implicitHeight: notes.implicitHeight + Theme.unit * 5
        Layout.fillWidth: true

        NotesView {
            id: notes

            x: Theme.unit * 2.5
            y: Theme.unit * 2.5
            width: parent.width - 2 * x
            title: face.past.notesTitle
            sections: face.past.notes
        }
    }
    UserNotesView {
        notes: face.past.userNotes
    }
    TranscriptFold {
        transcript: face.past.transcript
        title: face.past.transcriptTitle
        isOpen: face.past.showTranscript
        onToggled: face.past.showTranscript = !face.past.showTranscript
        onRowShown: row => face.reveal(row)
    }
    QuestionDialog {
        id: question

        title: "Delete this meeting?"
        explanation: face.meeting.deletionText(face.past.meetingId)
        verb: "Delete Meeting"
        onAccepted: face.past.remove()
    }
}
