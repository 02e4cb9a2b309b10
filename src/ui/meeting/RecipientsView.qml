pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Meeting

/// Who gets the mail: a line that opens.
ColumnLayout {
    id: view

    required property OutletAdapter outlet
    property bool canSave: false
    property bool isSaved: false // a moment ago
    signal saveWanted

    spacing: Theme.unit
    Layout.fillWidth: true

    LinkButton {
        text: view.outlet.recipientsText + (view.outlet.showRecipients ? "  ▾" : "  ▸")
        ink: Theme.faint
        Layout.leftMargin: -Theme.half
        Accessible.name: view.outlet.recipientsText
        Accessible.description: view.outlet.showRecipients ? "Shown" : "Folded"
        onClicked: view.outlet.showRecipients = !view.outlet.showRecipients
    }
    Rectangle {
        visible: view.outlet.showRecipients
        color: Theme.card
        radius: Theme.cardRadius
        border.color: Theme.line
        implicitHeight: column.implicitHeight + Theme.unit * 3
        Layout.fillWidth: true
        Layout.maximumWidth: Theme.textSize * 40

        ColumnLayout {
            id: column

            x: Theme.unit * 2
            y: Theme.unit * 1.5
            width: parent.width - 2 * x
            spacing: Theme.half

            Label {
                text: view.outlet.primaryRecipient + " (you)"
                visible: view.outlet.primaryRecipient !== ""
                Layout.fillWidth: true
            }
            Repeater {
                model: view.outlet.recipients

                RowLayout {
                    id: entry

                    required property string modelData

                    spacing: Theme.unit

                    Label {
                        text: entry.modelData
                        elide: Text.ElideRight
                        wrapMode: Text.NoWrap
                        Layout.fillWidth: true
                    }
                    IconButton {
                        name: "Remove " + entry.modelData
                        sign: "✕"
                        onClicked: view.outlet.removeRecipient(entry.modelData)
                    }
                }
            }
            Flow {
                spacing: Theme.unit
                Layout.fillWidth: true
                Layout.topMargin: Theme.half

                Field {
                    name: "Add email"
                    placeholderText: "Add email..."
                    text: view.outlet.newRecipient
                    width: Math.min(Theme.textSize * 20, parent.width)
                    onTextEdited: view.outlet.newRecipient = text
                    onAccepted: view.outlet.addRecipient()
                }
                PlainButton {
                    text: "Add"
                    onClicked: view.outlet.addRecipient()
                }
                LinkButton {
                    text: view.isSaved ? "Saved" : "Save as defaults"
                    visible: view.canSave
                    implicitHeight: Theme.controlHeight
                    onClicked: view.saveWanted()
                }
            }
        }
    }
}
