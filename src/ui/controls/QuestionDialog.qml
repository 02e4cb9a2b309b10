import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Templates as T
import QtQuick.Layouts
import Fenlo.Controls // after the toolkit's, which has a Label too

/// Asks before something is destroyed. The title names the act, the button is its verb, Cancel has the keyboard.
Dialog {
    id: dialog

    property string explanation: ""
    property string verb: ""

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: parent ? Math.min(parent.width - 4 * Theme.unit, Theme.textSize * 34) : 0
    modal: true
    padding: Theme.unit * 3
    focus: true

    background: Rectangle {
        radius: Theme.cardRadius
        color: Theme.card
        border.color: Theme.line
    }
    T.Overlay.modal: Rectangle { color: "#80000000" }
    header: null
    contentItem: ColumnLayout {
        spacing: Theme.unit * 1.5
        Accessible.role: Accessible.Dialog
        Accessible.name: dialog.title
        Accessible.description: dialog.explanation

        Text {
            text: dialog.title
            font.family: Theme.family
            font.pixelSize: Theme.headingSize
            font.weight: Font.DemiBold
            color: Theme.text
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }
        Label {
            text: dialog.explanation
            visible: text !== ""
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: Theme.unit
            Layout.alignment: Qt.AlignRight
            Layout.topMargin: Theme.unit

            PlainButton {
                focus: true
                text: "Cancel"
                onClicked: dialog.reject()
            }
            DangerButton {
                text: dialog.verb
                onClicked: dialog.accept()
            }
        }
    }
}
