import QtQuick
import Fenlo.Controls

/// A list of words as text. What is typed counts after a moment's rest, and when the keyboard goes elsewhere; the list
/// is shown as it is stored once the user has left it.
TextBox {
    id: box

    property string stored: ""
    property string given: "" // what the user's edit began with
    /// The user has made `text` of `given`.
    signal edited(string text, string given)

    Component.onCompleted: show()
    Component.onDestruction: store()
    onStoredChanged: if (!rest.running && !hasKeyboard) show()
    onHasKeyboardChanged: if (!hasKeyboard) { store(); show() }
    onTextChanged: if (text !== given) rest.restart()

    function show() {
        given = stored
        text = stored
    }
    function store() {
        rest.stop()
        if (text === given)
            return
        const before = given
        given = text
        box.edited(text, before)
    }

    Timer {
        id: rest

        interval: 800
        onTriggered: box.store()
    }
}
