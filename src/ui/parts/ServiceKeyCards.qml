pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Parts

/// The services, a card each, with the place of the key and a field for another.
ColumnLayout {
    id: cards

    required property ServiceKeyList keys

    spacing: Theme.unit * 3
    Layout.fillWidth: true
    Component.onCompleted: cards.keys.refresh()

    Repeater {
        model: cards.keys

        FormGroup {
            id: card

            required property int index
            required property string label
            required property string hint
            required property string status
            required property bool hasKey
            required property bool canRemove
            required property bool isBusy
            required property string note
            required property string noteKind

            title: label

            FormRow {
                title: card.status
                hint: card.hint

                PlainButton {
                    text: "Remove…"
                    visible: card.canRemove
                    Accessible.name: "Remove the key of " + card.label
                    onClicked: question.open()
                }
                PlainButton {
                    text: "Test"
                    visible: card.hasKey
                    enabled: !card.isBusy
                    Accessible.name: "Test the key of " + card.label
                    onClicked: cards.keys.test(card.index)
                }
            }
            FormRow {
                stacked: true

                Field {
                    id: field

                    name: "Key of " + card.label
                    // Of a field for secrets a screen reader is told this, and no name.
                    placeholderText: (card.hasKey ? "Another key of " : "Key of ") + card.label
                    echoMode: TextInput.Password
                    inputMethodHints: Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
                    Layout.fillWidth: true
                    onAccepted: keep()

                    function keep() {
                        if (cards.keys.enter(card.index, field.text))
                            field.clear()
                    }
                }
                PlainButton {
                    text: "Save and Test"
                    enabled: field.text !== "" && !card.isBusy
                    Accessible.name: "Save and test the key of " + card.label
                    onClicked: field.keep()
                }
            }
            FormRow {
                stacked: true
                visible: card.note !== "" || card.isBusy

                Notice {
                    kind: card.isBusy ? "info" : card.noteKind
                    text: card.isBusy ? "One moment…" : card.note
                }
            }
            QuestionDialog {
                id: question

                title: "Remove the key of " + card.label + "?"
                explanation: "It is taken out of the keyring. Fenlo cannot use " + card.label + " until you enter another."
                verb: "Remove Key"
                onAccepted: cards.keys.remove(card.index)
            }
        }
    }
}
