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
        onSettingsWanted: section => face.settingsWanted(section)
        onClosed: text => face.meeting.closeNotice(text)
    }
    ColumnLayout {
        spacing: Theme.unit
        Layout.fillWidth: true

        Flow {
            spacing: Theme.unit
            Layout.fillWidth: true

            PrimaryButton {
                text: face.meeting.outlet.emailStatus || "Email Now"
                enabled: face.meeting.hasTranscript && !face.meeting.outlet.isSending
                focus: true
                onClicked: face.meeting.outlet.email()
            }
            PlainButton {
                text: face.meeting.hasCopiedFormatted ? "Copied" : "Copy Formatted"
                enabled: face.meeting.hasTranscript
                onClicked: face.meeting.copyFormatted()
            }
            PlainButton {
                text: "Export .md"
                enabled: face.meeting.hasTranscript
                onClicked: face.meeting.outlet.exportMeeting(face.Window.window)
            }
            PlainButton {
                text: "New Meeting"
                onClicked: face.meeting.newMeeting()
            }
        }
        RecipientsView {
            outlet: face.meeting.outlet
            canSave: true
            isSaved: face.meeting.hasSavedRecipients
            onSaveWanted: face.meeting.saveRecipientsAsDefaults()
        }
    }
    Notices {
        notices: face.meeting.missingNotes
        onSettingsWanted: section => face.settingsWanted(section)
        onActed: face.meeting.openSession()
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
        onRowShown: row => face.reveal(row)
    }
}
