import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

/// What the user typed during the meeting.
FormGroup {
    id: group

    property string notes: ""

    title: "My Notes"
    visible: notes.trim() !== ""

    Label {
        text: group.notes
        lineHeight: 1.25
        Layout.fillWidth: true
        Layout.margins: Theme.unit * 2
    }
}
