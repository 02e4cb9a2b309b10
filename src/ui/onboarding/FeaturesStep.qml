pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    heading: "What your voice can do"

    GridLayout {
        columns: width < Theme.textSize * 34 ? 1 : 2
        columnSpacing: Theme.unit * 2
        rowSpacing: Theme.unit * 2
        Layout.fillWidth: true

        Repeater {
            model: step.start.features

            Rectangle {
                id: card

                required property var modelData

                radius: Theme.cardRadius
                color: Theme.card
                border.color: Theme.line
                implicitHeight: texts.implicitHeight + Theme.unit * 4
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: 1
                Accessible.role: Accessible.StaticText
                Accessible.name: modelData.title
                Accessible.description: modelData.text

                ColumnLayout {
                    id: texts

                    anchors { left: parent.left; right: parent.right; top: parent.top; margins: Theme.unit * 2 }
                    spacing: Theme.half

                    Label {
                        text: card.modelData.title
                        font.weight: Font.DemiBold
                        Layout.fillWidth: true
                        Accessible.ignored: true
                    }
                    Note {
                        text: card.modelData.text
                        Layout.fillWidth: true
                        Accessible.ignored: true
                    }
                }
            }
        }
    }
}
