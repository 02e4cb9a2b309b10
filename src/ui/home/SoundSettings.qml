import QtQuick
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property SettingsAdapter settings

    heading: "Sounds"

    FormGroup {
        FormRow {
            title: "Sounds"
            hint: page.settings.hint("playSounds")

            Toggle {
                value: page.settings.playSounds
                onChosen: on => page.settings.playSounds = on
                Accessible.name: "Sounds"
                Accessible.description: page.settings.hint("playSounds")
            }
        }
        FormRow {
            title: "Tones"
            hint: page.settings.soundSchemeDescription
            enabled: page.settings.playSounds

            Choice {
                name: "Tones"
                value: page.settings.soundScheme
                options: page.settings.soundSchemes
                onChosen: value => page.settings.soundScheme = value
            }
            PlainButton {
                text: "Play"
                onClicked: page.settings.playSoundScheme()
            }
        }
    }
}
