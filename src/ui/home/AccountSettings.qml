import QtQuick
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property AccountAdapter account

    heading: "Account"
    introduction: "Who you are to the service that Fenlo works with."
    Component.onCompleted: page.account.refresh()

    FormGroup {
        FormRow {
            title: page.account.title
            hint: page.account.hint

            PlainButton {
                text: "Look Again"
                visible: page.account.canLookAgain
                onClicked: page.account.lookAgain()
            }
            PrimaryButton {
                text: "Sign In"
                visible: page.account.canSignIn
                onClicked: page.account.signIn()
            }
            PlainButton {
                text: "Sign Out"
                visible: page.account.canSignOut
                enabled: !page.account.isSigningOut
                onClicked: question.open()
            }
        }
    }
    QuestionDialog {
        id: question

        title: page.account.questionTitle
        explanation: page.account.questionText
        verb: "Sign Out"
        onAccepted: page.account.signOut()
    }
}
