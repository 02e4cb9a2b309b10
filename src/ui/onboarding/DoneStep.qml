import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    nextCaption: "Start Voice Typing"

    ColumnLayout {
        spacing: Theme.unit * 3
        Layout.fillWidth: true
        Layout.topMargin: Theme.unit * 5

        Text {
            text: "You're ready."
            font.family: Theme.family
            font.pixelSize: Theme.figureSize
            font.weight: Font.Bold
            color: Theme.text
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        RowLayout {
            spacing: Theme.unit
            Layout.alignment: Qt.AlignHCenter

            Label { text: "Hold" }
            KeyCap { text: step.start.hotkey }
            Label { text: "anywhere, and speak." }
        }
        Note {
            text: "Everything that you chose or skipped is in the settings. Open them from the icon in your panel, or by starting "
                + "Fenlo once more."
            horizontalAlignment: Text.AlignHCenter
            Layout.alignment: Qt.AlignHCenter
            Layout.fillWidth: true
        }
    }
}
