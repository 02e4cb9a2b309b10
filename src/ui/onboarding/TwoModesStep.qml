import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    heading: "Two modes. One app."
    introduction: "Begin with the one that you need more. The icon in your panel switches between them at any time."
    nextCaption: "Got it"

    GridLayout {
        columns: width < Theme.textSize * 34 ? 1 : 2
        columnSpacing: Theme.unit * 2
        rowSpacing: Theme.unit * 2
        Layout.fillWidth: true

        ChoiceTile {
            text: "Professional"
            note: "For your work: the words of your field are known, its headings can be spoken, and the tone suits "
                + "the application that you write in."
            isChosen: !step.start.profession.isPersonal
            topPadding: Theme.unit * 2
            bottomPadding: Theme.unit * 2
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 1
            onChosen: step.start.profession.setPersonal(false)
        }
        ChoiceTile {
            text: "Personal"
            note: "For everything else: messages, lists and letters as you say them, without the language of your "
                + "profession."
            isChosen: step.start.profession.isPersonal
            topPadding: Theme.unit * 2
            bottomPadding: Theme.unit * 2
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 1
            onChosen: step.start.profession.setPersonal(true)
        }
    }
}
