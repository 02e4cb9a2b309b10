pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property SettingsAdapter settings

    heading: "Profession"
    introduction: "Fenlo adapts its vocabulary, its voice commands and its style to what you do."

    FormGroup {
        FormRow {
            title: "What do you do?"

            Choice {
                name: "What do you do?"
                value: page.settings.profession
                options: page.settings.professions
                onChosen: value => page.settings.profession = value
            }
        }
        FormRow {
            title: "Mode"
            hint: page.settings.hint("dictationMode")

            Choice {
                name: "Mode"
                value: page.settings.dictationMode
                options: page.settings.dictationModes
                onChosen: value => page.settings.dictationMode = value
            }
        }
    }
    FormGroup {
        visible: page.settings.questions.length > 0
        title: "About your work"

        Repeater {
            model: page.settings.questions

            FormRow {
                id: question

                required property var modelData

                title: modelData.text
                hint: modelData.hint
                stacked: true

                Flow {
                    spacing: Theme.unit
                    Layout.fillWidth: true

                    Repeater {
                        model: question.modelData.options

                        Chip {
                            required property var modelData

                            text: modelData.label
                            value: page.settings.answers.includes(modelData.id)
                            onChosen: on => page.settings.chooseAnswer(question.modelData.topic, modelData.key, on)
                        }
                    }
                }
            }
        }
    }
}
