pragma ComponentBehavior: Bound

import QtQuick

/// How loud it is, 0 to 1.
Item {
    id: meter

    property real level: 0
    property string name: "Level"

    readonly property int bars: 16

    implicitWidth: Theme.unit * 24
    implicitHeight: Math.round(Theme.textSize * 1.4)
    Accessible.role: Accessible.ProgressBar
    Accessible.name: name

    Row {
        anchors.fill: parent
        spacing: 3

        Repeater {
            model: meter.bars

            Rectangle {
                required property int index

                width: (meter.width - 3 * (meter.bars - 1)) / meter.bars
                height: meter.height
                radius: 2
                color: index < Math.round(meter.level * meter.bars) ? Theme.good : Theme.line
            }
        }
    }
}
