pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

/// What a language model made of a meeting, section by section.
ColumnLayout {
    id: view

    property string title: ""
    property var sections: []

    spacing: Theme.unit * 2.5

    Text {
        text: view.title
        visible: text !== ""
        font.family: Theme.family
        font.pixelSize: Math.round(Theme.headingSize * 1.15)
        font.weight: Font.DemiBold
        color: Theme.text
        textFormat: Text.PlainText
        wrapMode: Text.Wrap
        Layout.fillWidth: true
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Repeater {
        model: view.sections

        ColumnLayout {
            id: section

            required property var modelData

            spacing: Theme.unit
            Layout.fillWidth: true

            Text {
                text: section.modelData.heading
                font.family: Theme.family
                font.pixelSize: Theme.textSize
                font.weight: Font.DemiBold
                color: Theme.accent
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                Layout.fillWidth: true
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            Label {
                text: section.modelData.text
                visible: text !== ""
                lineHeight: 1.25
                Layout.fillWidth: true
            }
            Repeater {
                model: section.modelData.items

                RowLayout {
                    id: item

                    required property string modelData

                    spacing: Theme.unit * 1.5
                    Layout.fillWidth: true

                    Rectangle {
                        readonly property bool isBox: section.modelData.isToDo
                        readonly property int box: Math.round(Theme.textSize * 0.95)
                        readonly property int slack: box - width // so that all texts begin below each other

                        implicitWidth: isBox ? box : 5
                        implicitHeight: implicitWidth
                        radius: isBox ? 3 : width / 2
                        color: isBox ? "transparent" : Theme.faint
                        border.color: Theme.edge
                        border.width: isBox ? 1 : 0
                        Layout.alignment: Qt.AlignTop
                        Layout.topMargin: Math.round((Theme.textSize * 1.5 - height) / 2)
                        Layout.leftMargin: Math.floor(slack / 2)
                        Layout.rightMargin: Math.ceil(slack / 2)
                    }
                    Label {
                        text: item.modelData
                        lineHeight: 1.25
                        Layout.fillWidth: true
                    }
                }
            }
        }
    }
}
