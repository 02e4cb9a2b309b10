import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    heading: "Where does mail reach you?"
    introduction: "Your sign-in gave no e-mail address. The service keeps the one that you enter here with your account, and "
        + "sends the meeting notes there that you ask for."
    canContinue: step.start.isEmail(address.text)
    skipCaption: "Skip for now"
    first: address

    function proceed() {
        step.start.giveEmail(address.text)
        step.start.next()
    }

    Field {
        id: address

        name: "E-mail address"
        placeholderText: "name@example.org"
        inputMethodHints: Qt.ImhEmailCharactersOnly
        Layout.fillWidth: true
        onAccepted: if (step.canContinue) step.proceed()
    }
}
