pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    heading: "Tell Fenlo a little more"
    introduction: "Select all that apply."

    Repeater {
        model: step.start.profession.questions.length

        ColumnLayout {
            id: group

            required property int index
            readonly property var question: step.start.profession.questions[index]

            spacing: Theme.unit
            Layout.fillWidth: true
            Accessible.role: Accessible.Grouping
            Accessible.name: question.text

            Label {
                text: group.question.text
                font.weight: Font.DemiBold
                Layout.fillWidth: true
            }
            Flow {
                spacing: Theme.unit
                Layout.fillWidth: true

                Repeater {
                    model: group.question.options.length

                    Chip {
                        required property int index
                        readonly property var option: group.question.options[index]

                        text: option.label
                        value: option.isChosen
                        onChosen: step.start.profession.toggle(group.question.topic, option.key)
                    }
                }
            }
        }
    }
}
