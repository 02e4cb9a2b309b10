import QtQuick
import Fenlo.Controls

/// Shows how a dictation goes, three times, and then rests on the last picture. Rests there at once where nothing is to
/// move.
Rectangle {
    id: demo

    required property string hotkey

    readonly property var examples: [
        { place: "Message to Maya", words: "Running ten minutes late, please save me a seat!" },
        { place: "Notes", words: "Friday: ask Tom about the budget, and book the small room." },
        { place: "Mail", words: "Thank you for the draft. I have two small remarks on page three." }
    ]
    property int step: 0 // four for each example: waits, key held, key released, words are there
    readonly property int lastStep: 4 * examples.length - 1
    readonly property int shownStep: Theme.still ? lastStep : step
    readonly property int example: Math.floor(shownStep / 4)
    readonly property int phase: shownStep % 4

    implicitHeight: Theme.textSize * 21
    implicitWidth: Theme.textSize * 34
    radius: Theme.cardRadius
    color: Theme.card
    border.color: Theme.line
    Accessible.role: Accessible.Graphic
    Accessible.name: "While " + hotkey + " is held, Fenlo listens. When it is released, what was said stands at the cursor."

    Timer {
        running: demo.shownStep < demo.lastStep
        repeat: true
        interval: [900, 1500, 700, 2600][demo.phase]
        onTriggered: demo.step += 1
    }

    Rectangle { // the pill
        anchors.horizontalCenter: parent.horizontalCenter
        y: Theme.textSize * 2
        width: pillRow.implicitWidth + Theme.unit * 4
        height: Math.round(Theme.textSize * 2.4)
        radius: height / 2
        color: "#1B1B20"
        border.color: "#3A3A40"
        opacity: demo.phase === 1 || demo.phase === 2 ? 1 : 0

        Behavior on opacity { NumberAnimation { duration: Theme.gentle } }

        Row {
            id: pillRow

            anchors.centerIn: parent
            spacing: Theme.unit

            Rectangle {
                anchors.verticalCenter: parent.verticalCenter
                width: Theme.unit
                height: width
                radius: width / 2
                color: demo.phase === 1 ? "#FF5A52" : "#FFB23E"
            }
            Text {
                text: demo.phase === 1 ? "Listening" : "Writing"
                color: "#F2F2F0"
                font.family: Theme.family
                font.pixelSize: Theme.textSize
                Accessible.ignored: true
            }
        }
    }
    Rectangle { // the window with the cursor
        anchors.horizontalCenter: parent.horizontalCenter
        y: Theme.textSize * 6.4
        width: Math.min(parent.width - Theme.unit * 6, Theme.textSize * 32)
        height: Theme.textSize * 7
        radius: Theme.radius
        color: Theme.page
        border.color: Theme.line

        Note {
            x: Theme.unit * 2
            y: Theme.unit
            text: demo.examples[demo.example].place
            Accessible.ignored: true
        }
        Label {
            id: words

            x: Theme.unit * 2
            y: Theme.textSize * 2.6
            width: parent.width - Theme.unit * 4
            text: demo.phase === 3 ? demo.examples[demo.example].words : ""
            Accessible.ignored: true
        }
        Rectangle { // the cursor
            visible: demo.phase < 3
            x: Theme.unit * 2
            y: Theme.textSize * 2.6
            width: 2
            height: Theme.textSize * 1.4
            color: Theme.accent
        }
    }
    KeyCap {
        anchors.horizontalCenter: parent.horizontalCenter
        y: parent.height - height - Theme.textSize * 2.4 + (pressed ? 2 : 0)
        text: demo.hotkey
        pressed: demo.phase === 1
        Accessible.ignored: true
    }
}
