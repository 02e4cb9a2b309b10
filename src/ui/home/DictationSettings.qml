import QtQuick
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property SettingsAdapter settings

    heading: "Dictation"
    Component.onDestruction: page.settings.endHotkeyTest()

    FormGroup {
        title: "Hotkey"

        FormRow {
            title: "Key"
            hint: page.settings.hotkeyHint

            Choice {
                name: "Key"
                value: page.settings.hotkey
                options: page.settings.hotkeys
                onChosen: value => page.settings.hotkey = value
            }
        }
        FormRow {
            title: "Press it now"
            hint: "Dictation waits while you test the key"

            KeyCap {
                text: page.settings.hotkeyLabel
                pressed: page.settings.hotkeyIsHeld
            }
            PlainButton {
                text: page.settings.hotkeyIsTested ? "Stop Test" : "Test Key"
                onClicked: page.settings.hotkeyIsTested ? page.settings.endHotkeyTest() : page.settings.testHotkey()
            }
        }
        FormRow {
            visible: page.settings.hotkeyTestLine !== ""
            stacked: true

            Notice {
                kind: page.settings.hotkeyTestKind
                text: page.settings.hotkeyTestLine
            }
        }
        FormRow {
            title: "Press once to start, again to stop"
            hint: page.settings.hint("continuousMode")

            Toggle {
                value: page.settings.continuousMode
                onChosen: on => page.settings.continuousMode = on
                Accessible.name: "Press once to start, again to stop"
                Accessible.description: page.settings.hint("continuousMode")
            }
        }
    }
    FormGroup {
        title: "Commands"

        FormRow {
            title: "Voice commands"
            hint: page.settings.hint("voiceCommands")

            Toggle {
                value: page.settings.voiceCommands
                onChosen: on => page.settings.voiceCommands = on
                Accessible.name: "Voice commands"
                Accessible.description: page.settings.hint("voiceCommands")
            }
        }
    }
}
