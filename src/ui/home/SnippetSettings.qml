pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property SnippetList snippets

    heading: "Snippets"
    introduction: "Say the words on the left, alone or after “insert”, and the text on the right appears."

    Notice {
        kind: "warning"
        text: page.snippets.faultLine
    }
    Notice {
        text: page.snippets.removedLine
        action: "Undo"
        onActed: page.snippets.undoRemove()
    }
    FormGroup {
        Repeater {
            id: rows

            model: page.snippets

            FormRow {
                id: row

                required property int index
                required property string trigger
                required property string entryText
                required property string problem

                stacked: true

                function takeKeyboard() { words.forceActiveFocus(Qt.TabFocusReason) }

                GridLayout {
                    columns: 3
                    columnSpacing: Theme.unit
                    rowSpacing: Theme.half
                    Layout.fillWidth: true

                    Field {
                        id: words

                        name: "Words to say, " + (row.index + 1)
                        placeholderText: "Words to say"
                        text: row.trigger
                        onEditingFinished: page.snippets.setTrigger(row.index, text)
                        Component.onDestruction: if (text !== row.trigger) page.snippets.setTrigger(row.index, text)
                        Layout.preferredWidth: Theme.textSize * 13
                        Layout.alignment: Qt.AlignTop
                    }
                    TextBox {
                        id: inserted

                        name: "Text to insert, " + (row.index + 1)
                        placeholder: "Text to insert"
                        text: row.entryText
                        onEditingFinished: page.snippets.setText(row.index, text)
                        implicitHeight: Theme.textSize * 4.5
                        Layout.fillWidth: true
                    }
                    IconButton {
                        name: "Remove snippet " + (row.index + 1)
                        sign: "×"
                        onClicked: page.snippets.remove(row.index)
                        Layout.alignment: Qt.AlignTop
                    }
                    Note {
                        text: row.problem
                        visible: text !== ""
                        color: Theme.works
                        Layout.columnSpan: 3
                        Layout.fillWidth: true
                        Accessible.role: Accessible.AlertMessage
                        Accessible.name: text
                    }
                }
            }
        }
        FormRow {
            title: page.snippets.isEmpty ? "No snippets yet" : ""
            hint: page.snippets.isEmpty ? "A sign-off, an address, a reply that you give often" : ""

            PlainButton {
                text: "Add Snippet"
                onClicked: {
                    const place = page.snippets.add()
                    Qt.callLater(() => (rows.itemAt(place) as FormRow)?.takeKeyboard())
                }
            }
        }
    }
}
