import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property VoiceProfileAdapter voice

    heading: "Voice"
    introduction: "With a voice profile, Fenlo cuts other people's voices out of your recordings."
    Component.onDestruction: page.voice.cancelTrial()

    Notice {
        kind: "error"
        text: page.voice.message
    }
    FormGroup {
        title: "Voice profile"

        FormRow {
            title: page.voice.description
            hint: page.voice.made

            PlainButton {
                text: "Remove…"
                visible: page.voice.canRemove
                Accessible.name: "Remove voice profile"
                onClicked: question.open()
            }
            BaseButton {
                text: page.voice.makeCaption
                fill: page.voice.isReady ? Theme.field : Theme.accent
                hoverFill: page.voice.isReady ? Theme.hover : Qt.darker(Theme.accent, 1.12)
                ink: page.voice.isReady ? Theme.text : Theme.accentInk
                outline: page.voice.isReady ? Theme.edge : "transparent"
                onClicked: page.voice.readPassage()
            }
        }
        FormRow {
            title: "Voice isolation"
            hint: "Keep only your voice in recordings"
            visible: page.voice.isReady

            Toggle {
                value: page.voice.isolation
                Accessible.name: "Voice isolation"
                onChosen: on => page.voice.isolation = on
            }
        }
    }
    FormGroup {
        title: "How well it separates"
        visible: page.voice.isReady

        FormRow {
            title: page.voice.trialText
            hint: page.voice.limits

            LevelMeter {
                level: page.voice.level
                name: "Your voice"
                visible: page.voice.isListening
                implicitWidth: Theme.unit * 10
            }
            PlainButton {
                text: page.voice.isListening ? "Stop" : "Try It"
                enabled: !page.voice.isComparing
                onClicked: page.voice.isListening ? page.voice.cancelTrial() : page.voice.startTrial()
            }
        }
        Progress {
            value: page.voice.trialProgress
            name: "Trial"
            visible: page.voice.isListening
            Layout.fillWidth: true
            Layout.margins: Theme.unit * 2
            Layout.topMargin: 0
        }
    }
    QuestionDialog {
        id: question

        title: page.voice.removalTitle
        explanation: page.voice.removalText
        verb: page.voice.removalVerb
        onAccepted: page.voice.remove()
    }
}
