import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    readonly property PracticeAdapter practice: step.start.practice
    readonly property bool isDone: practice.hasSucceeded

    heading: "Hold and Speak"
    introduction: "Hold the key, say a sentence, and let go."
    nextCaption: isDone ? "Continue" : ""
    skipCaption: isDone ? "" : "Skip for now"
    first: withoutKey

    ColumnLayout {
        spacing: Theme.unit * 2
        Layout.fillWidth: true

        RowLayout { // one row, so that a small screen has room for the words
            spacing: Theme.unit * 2
            Layout.alignment: Qt.AlignHCenter

            KeyCap {
                text: step.start.hotkey
                pressed: step.practice.isKeyPressed
            }
            LinkButton {
                id: withoutKey

                text: step.practice.isKeyPressed ? "Stop" : "Start Without the Key"
                enabled: !step.practice.isProcessing
                onClicked: step.practice.toggle()
            }
        }
        LevelMeter {
            level: step.practice.level
            name: "Microphone level"
            Layout.alignment: Qt.AlignHCenter
        }
        Label {
            text: step.practice.status
            color: step.isDone ? Theme.good : step.practice.hasFailed ? Theme.works : Theme.faint
            font.weight: Font.Medium
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
            Layout.minimumHeight: Theme.textSize * 1.5
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        Rectangle {
            radius: Theme.cardRadius
            color: Theme.card
            border.color: step.isDone ? Theme.good : Theme.line
            Layout.fillWidth: true
            implicitHeight: Math.max(Theme.textSize * 7, words.implicitHeight + Theme.unit * 4)
            Accessible.role: Accessible.StaticText
            Accessible.name: words.text

            Label {
                id: words

                anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter; margins: Theme.unit * 3 }
                text: step.practice.words === "" ? "“" + step.start.sample + "”" : step.practice.words
                color: step.practice.words === "" ? Theme.faint : Theme.text
                font.pixelSize: Theme.headingSize
                font.italic: step.practice.words === ""
                horizontalAlignment: Text.AlignHCenter
                Accessible.ignored: true

                Behavior on color { ColorAnimation { duration: Theme.still ? 0 : 300 } }
            }
        }
        Notice {
            kind: "warning"
            text: step.practice.reason
        }
    }
}
