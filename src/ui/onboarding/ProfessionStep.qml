pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    heading: "What do you do?"
    introduction: "Fenlo learns the words of your field, and how its texts are written."
    canContinue: step.start.profession.isChosen
    skipCaption: "Not listed — skip for now"
    first: tiles.count > 0 ? tiles.itemAt(0) : null

    function skip() {
        step.start.profession.skip()
        step.start.next()
    }

    GridLayout {
        columns: Math.max(1, Math.min(3, Math.floor(width / (Theme.textSize * 13))))
        columnSpacing: Theme.unit * 1.5
        rowSpacing: Theme.unit * 1.5
        Layout.fillWidth: true

        Repeater {
            id: tiles

            model: step.start.profession.professions.length

            ChoiceTile {
                required property int index
                readonly property var option: step.start.profession.professions[index]

                text: option.label
                isChosen: option.isChosen
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                onChosen: step.start.profession.choose(option.key)
            }
        }
    }
}
