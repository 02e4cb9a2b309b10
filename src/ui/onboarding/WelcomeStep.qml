import QtQuick
import QtQuick.Layouts
import Fenlo.Onboarding

StepPage {
    id: step

    heading: "Hold a key. Speak. Release."
    introduction: "Text appears wherever your cursor is."

    WelcomeDemo {
        hotkey: step.start.hotkey
        Layout.fillWidth: true
    }
}
