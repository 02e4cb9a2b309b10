import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Meeting

/// A whole transcript, folded until somebody wants it.
ColumnLayout {
    id: fold

    required property TranscriptList transcript
    property MeetingAdapter session: null // as TranscriptView has it
    property string title: ""
    property bool isOpen: false
    signal toggled
    /// The user went to this row.
    signal rowShown(Item row)

    spacing: Theme.unit
    Layout.fillWidth: true

    LinkButton {
        text: (fold.isOpen ? "▾  " : "▸  ") + fold.title
        ink: Theme.text
        font.weight: Font.DemiBold
        font.pixelSize: Theme.headingSize
        implicitHeight: Theme.controlHeight
        Accessible.name: fold.title
        Accessible.description: fold.isOpen ? "Shown" : "Folded"
        onClicked: fold.toggled()
    }
    Rectangle {
        visible: fold.isOpen
        color: Theme.card
        radius: Theme.cardRadius
        border.color: Theme.line
        implicitHeight: Math.min(list.contentHeight + 2 * Theme.unit, Theme.textSize * 34)
        Layout.fillWidth: true

        TranscriptView {
            id: list

            anchors.fill: parent
            anchors.margins: Theme.unit
            transcript: fold.transcript
            session: fold.session
            onRowShown: row => fold.rowShown(row)
        }
    }
}
