pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

/// Numbers of one time, side by side as far as there is room.
ColumnLayout {
    id: group

    property string title: ""
    property var cards: []

    spacing: Theme.unit
    Layout.fillWidth: true
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Text {
        text: group.title
        font.family: Theme.family
        font.pixelSize: Theme.headingSize
        font.weight: Font.DemiBold
        color: Theme.text
        Layout.leftMargin: Theme.half
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    GridLayout {
        columns: Math.max(1, Math.min(group.cards.length, Math.floor(group.width / (Theme.textSize * 10))))
        columnSpacing: Theme.unit * 1.5
        rowSpacing: Theme.unit * 1.5
        Layout.fillWidth: true

        Repeater {
            model: group.cards

            StatCard {
                required property var modelData

                value: modelData.value
                label: modelData.label
                spoken: modelData.spoken
            }
        }
    }
}
