pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Parts

/// The on-device models: those that are here, and those that can be fetched.
FormGroup {
    id: group

    required property ModelList models

    title: "Models"
    hint: group.models.isLoading ? "Looking for models…" : "A larger model makes fewer mistakes and takes longer."
    Component.onCompleted: group.models.refresh()

    Repeater {
        model: group.models

        ColumnLayout {
            id: entry

            required property int index
            required property string name
            required property string label
            required property string status
            required property string verb
            required property bool isInstalled
            required property bool hasJob
            required property real fraction
            required property string rowNote
            required property string rowNoteKind

            spacing: 0
            Layout.fillWidth: true

            Item { // a row below something draws a line above itself
                visible: entry.index > 0
                implicitHeight: 1
            }
            FormRow {
                title: entry.label
                hint: entry.status

                PlainButton {
                    text: "Cancel"
                    visible: entry.hasJob
                    Accessible.name: "Cancel " + entry.label
                    onClicked: group.models.cancel()
                }
                PlainButton {
                    text: entry.verb
                    visible: !entry.isInstalled && !entry.hasJob
                    enabled: !group.models.isBusy
                    Accessible.name: entry.verb + " " + entry.label
                    onClicked: group.models.download(entry.name)
                }
                PlainButton {
                    text: "How Fast?"
                    visible: entry.isInstalled && !entry.hasJob
                    enabled: !group.models.isBusy
                    Accessible.name: "Measure how fast " + entry.label + " is"
                    onClicked: group.models.measure(entry.name)
                }
                PlainButton {
                    text: "Remove…"
                    visible: entry.isInstalled && !entry.hasJob
                    enabled: !group.models.isBusy
                    Accessible.name: "Remove " + entry.label
                    onClicked: question.open()
                }
            }
            Progress {
                name: "Progress of " + entry.label
                value: Math.max(0, entry.fraction)
                indeterminate: false
                visible: entry.hasJob && entry.fraction >= 0
                Layout.fillWidth: true
                Layout.leftMargin: Theme.unit * 2
                Layout.rightMargin: Theme.unit * 2
                Layout.bottomMargin: Theme.unit * 2
            }
            Notice {
                kind: entry.rowNoteKind
                text: entry.rowNote
                Layout.leftMargin: Theme.unit * 2
                Layout.rightMargin: Theme.unit * 2
                Layout.bottomMargin: visible ? Theme.unit * 2 : 0
            }
            QuestionDialog {
                id: question

                title: "Remove " + entry.label + "?"
                explanation: "Its files are deleted. To use it again you download it again."
                verb: "Remove Model"
                onAccepted: group.models.remove(entry.name)
            }
        }
    }
    FormRow {
        stacked: true
        visible: group.models.note !== ""

        Notice {
            kind: group.models.noteKind
            text: group.models.note
            action: "Try Again"
            onActed: group.models.refresh()
        }
    }
}
