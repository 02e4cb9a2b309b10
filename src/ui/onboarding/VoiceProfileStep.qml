pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

/// A passage that moves on while it is read aloud, and what has been heard so far.
FocusScope {
    id: step

    required property VoiceReadingAdapter reading
    property string skipCaption: "Skip"

    ColumnLayout {
        anchors.fill: parent
        spacing: Theme.unit * 2

        Heading {
            text: "Create Your Voice Profile"
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: Theme.unit
            Layout.fillWidth: true

            Label { text: "Hold" }
            KeyCap {
                text: step.reading.keyLabel
                pressed: step.reading.isReading
            }
            Label {
                text: "and read this aloud, as you usually speak."
                Layout.fillWidth: true
            }
        }
        Rectangle {
            radius: Theme.cardRadius
            color: Theme.card
            border.color: step.reading.isReading ? Theme.accent : Theme.line
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: Theme.textSize * 9
            Accessible.role: Accessible.StaticText
            Accessible.name: step.reading.wholePassage

            ListView {
                id: lines

                anchors.fill: parent
                anchors.margins: Theme.unit * 2
                clip: true
                interactive: false
                model: step.reading.passage
                currentIndex: step.reading.line
                highlightRangeMode: ListView.ApplyRange
                highlightMoveDuration: Theme.gentle
                preferredHighlightBegin: height * 0.3
                preferredHighlightEnd: height * 0.5
                spacing: Theme.unit * 1.25

                delegate: Text {
                    required property string modelData
                    required property int index

                    width: ListView.view.width
                    text: modelData
                    wrapMode: Text.Wrap
                    font.family: Theme.family
                    font.pixelSize: Theme.headingSize
                    font.weight: ListView.isCurrentItem ? Font.DemiBold : Font.Normal
                    color: ListView.isCurrentItem ? Theme.text : Theme.faint
                    opacity: index < lines.currentIndex ? 0.55 : 1
                    Accessible.ignored: true
                }
            }
        }
        RowLayout {
            spacing: Theme.unit * 2
            Layout.fillWidth: true

            LevelMeter {
                level: step.reading.level
                name: "Your voice"
                implicitWidth: Theme.unit * 14
            }
            Progress {
                value: step.reading.progress
                name: "Speech heard"
                Layout.fillWidth: true
            }
        }
        Label {
            text: step.reading.status
            color: step.reading.tint.a > 0 ? Qt.darker(step.reading.tint, Theme.dark ? 1 : 1.5) : Theme.faint
            font.weight: Font.Medium
            Layout.fillWidth: true
            Layout.minimumHeight: Theme.textSize * 1.4
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Notice {
            kind: "warning"
            text: step.reading.reason
        }
        RowLayout {
            spacing: Theme.unit
            Layout.fillWidth: true

            PlainButton {
                text: step.reading.isReading ? "Stop" : "Start Without the Key"
                enabled: step.reading.canSkip
                focus: true
                onClicked: step.reading.toggle()
            }
            Item { Layout.fillWidth: true }
            PlainButton {
                text: step.skipCaption
                enabled: step.reading.canSkip
                onClicked: step.reading.skip()
            }
        }
    }
}
