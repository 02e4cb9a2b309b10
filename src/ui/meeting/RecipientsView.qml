pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

/// Who gets the mail: a line that opens.
ColumnLayout {
    id: view

    property string caption: ""
    property string primary: "" // the user's own address; empty without one
    property var addresses: []
    property string typed: ""
    property bool isOpen: false
    property bool canSave: false
    signal toggled
    signal edited(string text)
    signal added
    signal removed(string address)
    signal saveWanted

    spacing: Theme.unit
    Layout.fillWidth: true

    LinkButton {
        text: view.caption + (view.isOpen ? "  ▾" : "  ▸")
        ink: Theme.faint
        Layout.leftMargin: -Theme.half
        Accessible.name: view.caption
        Accessible.description: view.isOpen ? "Shown" : "Folded"
        onClicked: view.toggled()
    }
    Rectangle {
        visible: view.isOpen
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
                text: view.primary + " (you)"
                visible: view.primary !== ""
                Layout.fillWidth: true
            }
            Repeater {
                model: view.addresses

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
                        onClicked: view.removed(entry.modelData)
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
                    text: view.typed
                    width: Math.min(Theme.textSize * 20, parent.width)
                    onTextEdited: view.edited(text)
                    onAccepted: view.added()
                }
                PlainButton {
                    text: "Add"
                    onClicked: view.added()
                }
                LinkButton {
                    text: "Save as defaults"
                    visible: view.canSave
                    implicitHeight: Theme.controlHeight
                    onClicked: view.saveWanted()
                }
            }
        }
    }
}
