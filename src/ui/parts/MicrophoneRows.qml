import QtQuick
import Fenlo.Controls
import Fenlo.Parts

/// The microphone that records, another one to choose, and how loud it is now.
FormGroup {
    id: group

    required property MicrophoneChoice microphone

    Component.onCompleted: group.microphone.listen(true)
    Component.onDestruction: group.microphone.listen(false)

    FormRow {
        title: "Microphone"
        hint: group.microphone.inUse !== "" ? "Recording from " + group.microphone.inUse : ""

        Choice {
            name: "Microphone"
            options: group.microphone.options
            value: group.microphone.chosen
            onChosen: value => group.microphone.chosen = value
        }
    }
    FormRow {
        title: "Built-in microphone before a wireless headset's"
        hint: "It sounds better, opens at once and never interrupts what you listen to"
        visible: group.microphone.chosen === ""

        Toggle {
            value: group.microphone.prefersBuiltIn
            Accessible.name: "Built-in microphone before a wireless headset's"
            onChosen: on => group.microphone.prefersBuiltIn = on
        }
    }
    FormRow {
        title: "Level"
        hint: "Say something: the bars follow your voice"

        LevelMeter {
            name: "Level of the microphone"
            level: group.microphone.level
        }
    }
    FormRow {
        stacked: true
        visible: group.microphone.note !== ""

        Notice {
            kind: group.microphone.noteKind
            text: group.microphone.note
        }
    }
}
