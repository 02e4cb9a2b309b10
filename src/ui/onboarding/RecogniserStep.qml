import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding
import Fenlo.Parts

StepPage {
    id: step

    property bool isOnMachine: true // which of the two ways is shown

    heading: "Who writes down what you say?"
    introduction: "Both ways, and more models, are in the settings too."
    skipCaption: "Later"
    first: machine

    GridLayout {
        columns: width < Theme.textSize * 34 ? 1 : 2
        columnSpacing: Theme.unit * 2
        rowSpacing: Theme.unit * 2
        Layout.fillWidth: true

        ChoiceTile {
            id: machine

            text: "This machine"
            note: "Your voice never leaves it. In English, and without an account."
            isChosen: step.isOnMachine
            topPadding: Theme.unit * 2
            bottomPadding: Theme.unit * 2
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 1
            onChosen: step.isOnMachine = true
        }
        ChoiceTile {
            text: "A service"
            note: "Faster, in every language, and able to polish your text. With a key of your own."
            isChosen: !step.isOnMachine
            topPadding: Theme.unit * 2
            bottomPadding: Theme.unit * 2
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 1
            onChosen: step.isOnMachine = false
        }
    }
    OfflineRows {
        offline: step.start.offline
        visible: step.isOnMachine
    }
    ServiceKeyCards {
        keys: step.start.keys
        visible: !step.isOnMachine
    }
}
