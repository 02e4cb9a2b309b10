import QtQuick
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property SettingsAdapter settings

    heading: "Language and text"

    FormGroup {
        title: "Recognition"

        FormRow {
            title: "Language"
            hint: page.settings.languageHint

            Choice {
                name: "Language"
                value: page.settings.language
                options: page.settings.languages
                onChosen: value => page.settings.language = value
            }
        }
        FormRow {
            title: "Output"
            enabled: !page.settings.offlineMode

            Choice {
                name: "Output"
                value: page.settings.outputMode
                options: page.settings.outputModes
                onChosen: value => page.settings.outputMode = value
            }
        }
        FormRow {
            title: "Algorithm"
            hint: page.settings.hint("sttEngine")
            enabled: !page.settings.offlineMode

            Choice {
                name: "Algorithm"
                value: page.settings.sttEngine
                options: page.settings.sttEngines
                onChosen: value => page.settings.sttEngine = value
            }
        }
    }
    FormGroup {
        title: "Text"

        FormRow {
            title: "Auto capitalize"
            hint: page.settings.hint("autoCapitalize")

            Toggle {
                value: page.settings.autoCapitalize
                onChosen: on => page.settings.autoCapitalize = on
                Accessible.name: "Auto capitalize"
                Accessible.description: page.settings.hint("autoCapitalize")
            }
        }
        FormRow {
            title: "Smart Rewrite"
            hint: page.settings.hint("smartRewrite")

            Toggle {
                value: page.settings.smartRewrite
                onChosen: on => page.settings.smartRewrite = on
                Accessible.name: "Smart Rewrite"
                Accessible.description: page.settings.hint("smartRewrite")
            }
        }
        FormRow {
            title: "Style"
            hint: page.settings.hint("smartRewriteStyle")
            enabled: page.settings.smartRewrite

            Choice {
                name: "Style"
                value: page.settings.smartRewriteStyle
                options: page.settings.smartRewriteStyles
                onChosen: value => page.settings.smartRewriteStyle = value
            }
        }
        FormRow {
            title: "Model"
            hint: page.settings.hint("smartRewriteModel")
            enabled: page.settings.smartRewrite

            Choice {
                name: "Model"
                value: page.settings.smartRewriteModel
                options: page.settings.smartRewriteModels
                onChosen: value => page.settings.smartRewriteModel = value
            }
        }
    }
}
