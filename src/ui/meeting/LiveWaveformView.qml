pragma ComponentBehavior: Bound

import QtQuick
import Fenlo.Controls

/// How loud it was in the last moments: each new level comes in at the right and moves the others on.
Item {
    id: view

    property real level: 0 // 0 to 1
    property int barCount: 40
    property color barColor: Theme.danger
    property var history: [] // a level for each bar, the newest last

    implicitWidth: barCount * 4 + (barCount - 1) * 3
    implicitHeight: 40
    Accessible.role: Accessible.Graphic
    Accessible.name: "Sound level"
    onLevelChanged: history = fitting(history.slice(1).concat(level))
    onBarCountChanged: history = fitting(history)
    Component.onCompleted: history = fitting(history)

    function fitting(levels) {
        const kept = levels.slice(-barCount)
        return Array(barCount - kept.length).fill(0).concat(kept)
    }

    Row {
        anchors.centerIn: parent
        spacing: 3

        Repeater {
            model: view.barCount

            Rectangle {
                required property int index

                readonly property real value: view.history[index] ?? 0 // for a moment there may be more bars than levels

                anchors.verticalCenter: parent ? parent.verticalCenter : undefined
                width: 4
                height: 4 + 36 * value
                radius: 2
                color: view.barColor
                opacity: 0.3 + 0.7 * value

                Behavior on height {
                    enabled: !Theme.still
                    NumberAnimation { duration: 80; easing.type: Easing.OutQuad }
                }
            }
        }
    }
}
