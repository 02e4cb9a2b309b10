pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic

/// What a control is for, shown beside it while the pointer or the keyboard rests there. There is none until then.
Loader {
    id: tip

    property string text: ""
    property bool isWanted: false
    property int delay: 700 // milliseconds

    active: isWanted && text !== ""
    sourceComponent: ToolTip {
        parent: tip.parent
        delay: tip.delay
        margins: Theme.half
        leftPadding: Theme.unit * 1.25
        rightPadding: Theme.unit * 1.25
        topPadding: Theme.half
        bottomPadding: Theme.half
        text: tip.text
        Component.onCompleted: open()

        contentItem: Note {
            text: tip.text
            color: Theme.text
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.card
            border.color: Theme.edge
        }
    }
}
