import QtQuick
import QtQuick.Controls.Basic

/// What a control is for, shown beside it while the pointer or the keyboard rests there.
ToolTip {
    id: tip

    property bool isWanted: false

    visible: isWanted && text !== ""
    delay: 700 // milliseconds
    margins: Theme.half
    leftPadding: Theme.unit * 1.25
    rightPadding: Theme.unit * 1.25
    topPadding: Theme.half
    bottomPadding: Theme.half

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
