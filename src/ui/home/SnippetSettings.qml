pragma ComponentBehavior: Bound

import QtQuick
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

            SnippetRow { snippets: page.snippets }
        }
        FormRow {
            title: page.snippets.isEmpty ? "No snippets yet" : ""
            hint: page.snippets.isEmpty ? "A sign-off, an address, a reply that you give often" : ""

            PlainButton {
                text: "Add Snippet"
                onClicked: {
                    const place = page.snippets.add()
                    Qt.callLater(() => (rows.itemAt(place) as SnippetRow)?.takeKeyboard())
                }
            }
        }
    }
}
