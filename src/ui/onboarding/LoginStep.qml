import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

StepPage {
    id: step

    nextCaption: ""
    first: step.start.offersGoogle ? google : step.start.offersApple ? apple : without

    Timer { // once the page has its new height
        id: told

        interval: 0
        onTriggered: { // in a low window what a sign-in has to say would stay below the edge
            for (const news of [waiting, noBrowser, failure])
                if (news.visible)
                    step.reveal(news)
        }
    }
    ColumnLayout {
        spacing: Theme.unit * 2
        Layout.fillWidth: true
        onHeightChanged: told.restart()
        // In the middle, with room for what a sign-in has to say, so that nothing moves when it says it.
        Layout.topMargin: Math.max(Theme.unit, (step.availableHeight - Theme.textSize * 32) / 2)

        Repeater {
            model: ["Talk more.", "Type less."]

            Text {
                required property string modelData

                text: modelData
                font.family: Theme.family
                font.pixelSize: Theme.figureSize
                font.weight: Font.Bold
                color: Theme.text
                horizontalAlignment: Text.AlignHCenter
                Layout.fillWidth: true
                Layout.bottomMargin: -Theme.unit * 1.5
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
        }
        Label {
            text: "You speak at 150 wpm. You type at 40.\nFenlo gives you that time back."
            color: Theme.faint
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
            Layout.topMargin: Theme.unit * 2
            Layout.bottomMargin: Theme.unit * 2
        }
        PrimaryButton {
            id: google

            text: "Continue with Google"
            visible: step.start.offersGoogle
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: Theme.textSize * 22
            onClicked: step.start.signInWithGoogle()
        }
        PlainButton {
            id: apple

            text: "Continue with Apple"
            visible: step.start.offersApple
            Layout.alignment: Qt.AlignHCenter
            Layout.preferredWidth: Theme.textSize * 22
            onClicked: step.start.signInWithApple()
        }
        RowLayout {
            id: waiting

            visible: step.start.waitingText !== ""
            spacing: Theme.unit
            Layout.alignment: Qt.AlignHCenter

            Busy {
                text: step.start.waitingText
                Layout.fillWidth: false
            }
            LinkButton {
                text: "Cancel"
                onClicked: {
                    step.start.cancelSignIn()
                    step.first.forceActiveFocus(Qt.TabFocusReason) // this button goes
                }
            }
        }
        Notice {
            id: noBrowser

            kind: "warning"
            Layout.maximumWidth: Theme.textSize * 38
            Layout.alignment: Qt.AlignHCenter
            text: step.start.browserText
            action: "Copy Address"
            onActed: step.start.copySignInAddress()
        }
        Notice {
            id: failure

            kind: "error"
            Layout.maximumWidth: Theme.textSize * 38
            Layout.alignment: Qt.AlignHCenter
            text: step.start.loginError
        }
        LinkButton {
            id: without

            text: "Continue without an account"
            Layout.alignment: Qt.AlignHCenter
            onClicked: step.start.continueWithoutAccount()
        }
    }
}
