pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    heading: "Your mic setup"
    first: tiles.count > 0 ? tiles.itemAt(0) : null

    GridLayout {
        columns: width < Theme.textSize * 34 ? 1 : 2
        columnSpacing: Theme.unit * 2
        rowSpacing: Theme.unit * 2
        Layout.fillWidth: true

        Repeater {
            id: tiles

            model: step.start.microphone.choices.length

            ChoiceTile {
                required property int index
                readonly property var choice: step.start.microphone.choices[index]

                text: choice.title
                note: choice.text
                isChosen: step.start.microphone.chosen === index
                topPadding: Theme.unit * 2
                bottomPadding: Theme.unit * 2
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: 1
                onChosen: step.start.microphone.choose(index)
            }
        }
    }
    ColumnLayout {
        spacing: Theme.half
        Layout.fillWidth: true

        Repeater {
            model: step.start.microphone.reasons

            Note {
                required property string modelData

                text: modelData
                Layout.fillWidth: true
            }
        }
    }
    FormGroup {
        FormRow {
            title: "Microphone"
            hint: step.start.microphone.inUse === "" ? "Plug one in; Fenlo notices it." : "In use: " + step.start.microphone.inUse

            Choice {
                name: "Microphone"
                options: step.start.microphone.devices
                value: step.start.microphone.device
                onChosen: value => step.start.microphone.chooseDevice(value)
            }
        }
        FormRow {
            title: "Level"
            hint: "Say something: the bars should move."
            visible: step.start.microphone.inUse !== ""

            LevelMeter {
                level: step.start.microphone.level
                name: "Microphone level"
            }
        }
    }
    Notice {
        kind: "warning"
        text: step.start.microphone.problem
    }
}
