pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Meeting

/// A meeting that has just ended: its notes, and where they go.
Page {
    id: face

    required property MeetingAdapter meeting
    signal settingsWanted(string section)

    heading: meeting.endedTitle

    Notice {
        text: face.meeting.autoSendText
        action: "Cancel"
        onActed: face.meeting.cancelAutoSend()
    }
    Notice {
        kind: "good"
        text: face.meeting.autoSendCompleted ? "Meeting notes sent!" : ""
    }
    Notices {
        notices: face.meeting.notices
    }
    ColumnLayout {
        spacing: Theme.unit
        Layout.fillWidth: true

        Flow {
            spacing: Theme.unit
            Layout.fillWidth: true

            PrimaryButton {
                text: face.meeting.emailCaption
                enabled: !face.meeting.isSending
                focus: true
                onClicked: face.meeting.emailNow()
            }
            PlainButton {
                text: face.meeting.hasCopiedFormatted ? "Copied" : "Copy Formatted"
                onClicked: face.meeting.copyFormatted()
            }
            PlainButton {
                text: "Export .md"
                onClicked: face.meeting.exportTo(face.Window.window)
            }
            PlainButton {
                text: "New Meeting"
                onClicked: face.meeting.newMeeting()
            }
        }
        RecipientsView {
            caption: face.meeting.recipientsText
            primary: face.meeting.primaryRecipient
            addresses: face.meeting.additionalRecipients
            typed: face.meeting.newRecipient
            isOpen: face.meeting.showRecipients
            canSave: true
            onToggled: face.meeting.showRecipients = !face.meeting.showRecipients
            onEdited: text => face.meeting.newRecipient = text
            onAdded: face.meeting.addRecipient()
            onRemoved: address => face.meeting.removeRecipient(address)
            onSaveWanted: face.meeting.saveRecipientsAsDefaults()
        }
    }
    Notices {
        notices: face.meeting.missingNotes
        onActed: action => action === "Open Settings" ? face.settingsWanted(face.meeting.settingsSection) : face.meeting.openSession()
    }
    Busy {
        text: face.meeting.isEnhancing ? "Generating meeting notes..." : ""
    }
    Rectangle {
        visible: face.meeting.hasNotes
        color: Theme.card
        radius: Theme.cardRadius
        border.color: Theme.line
        implicitHeight: notes.implicitHeight + Theme.unit * 5
        Layout.fillWidth: true

        ColumnLayout {
            id: notes

            x: Theme.unit * 2.5
            y: Theme.unit * 2.5
            width: parent.width - 2 * x
            spacing: Theme.unit * 3

            NotesView {
                title: face.meeting.notesTitle
                sections: face.meeting.notes
                Layout.fillWidth: true
            }
            RowLayout {
                spacing: Theme.unit
                Layout.fillWidth: true

                Field {
                    name: "Refine summary"
                    placeholderText: "Refine summary — e.g. \"focus on action items\""
                    text: face.meeting.refinePrompt
                    enabled: !face.meeting.isEnhancing
                    Layout.fillWidth: true
                    onTextEdited: face.meeting.refinePrompt = text
                    onAccepted: face.meeting.refine()
                }
                PlainButton {
                    text: "Refine"
                    enabled: !face.meeting.isEnhancing
                    onClicked: face.meeting.refine()
                }
            }
        }
    }
    UserNotesView {
        notes: face.meeting.userNotes
    }
    TranscriptFold {
        transcript: face.meeting.transcript
        session: face.meeting
        title: face.meeting.transcriptTitle
        isOpen: face.meeting.showTranscript
        onToggled: face.meeting.showTranscript = !face.meeting.showTranscript
    }
}
