import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home

/// A snippet: the words that call it up, and its text. What is typed counts when the keyboard goes elsewhere, and a
/// text also after a moment's rest.
FormRow {
    id: row

    required property SnippetList snippets
    required property int index
    required property string trigger
    required property string entryText
    required property string problem

    property bool isLeaving: false

    stacked: true
    Component.onDestruction: store()

    function takeKeyboard() { words.forceActiveFocus(Qt.TabFocusReason) }
    function store() {
        if (row.isLeaving || row.index < 0)
            return
        storeText()
        if (words.text !== row.trigger)
            row.snippets.setTrigger(row.index, words.text)
    }
    function storeText() {
        rest.stop()
        if (inserted.text !== row.entryText)
            row.snippets.setText(row.index, inserted.text)
    }

    Timer {
        id: rest

        interval: 800
        onTriggered: row.storeText()
    }
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
            onEditingFinished: {
                row.snippets.setTrigger(row.index, text)
                text = Qt.binding(() => row.trigger) // in lower case
            }
            Layout.preferredWidth: Theme.textSize * 13
            Layout.alignment: Qt.AlignTop
        }
        TextBox {
            id: inserted

            name: "Text to insert, " + (row.index + 1)
            placeholder: "Text to insert"
            text: row.entryText
            implicitHeight: Theme.textSize * 4.5
            onTextChanged: if (text !== row.entryText) rest.restart()
            onEditingFinished: row.storeText()
            Layout.fillWidth: true
        }
        IconButton {
            name: "Remove snippet " + (row.index + 1)
            sign: "×"
            onClicked: {
                row.isLeaving = true
                row.snippets.remove(row.index)
            }
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
