import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls

/// One of some choices: a word, and perhaps a line below it. Arrows lead to its neighbours.
AbstractButton {
    id: tile

    property string note: ""
    property bool isChosen: false
    property bool isOneOfSeveral: false // more than one may be chosen

    implicitWidth: Math.max(Theme.textSize * 4, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(Theme.controlHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: Theme.unit * 2
    rightPadding: Theme.unit * 2
    topPadding: Theme.unit
    bottomPadding: Theme.unit
    focusPolicy: Qt.StrongFocus
    Accessible.role: isOneOfSeveral ? Accessible.CheckBox : Accessible.RadioButton
    Accessible.name: text
    Accessible.description: note
    Accessible.checkable: true
    Accessible.checked: isChosen
    Accessible.onPressAction: tile.clicked()
    Accessible.onToggleAction: tile.clicked()
    Keys.onReturnPressed: tile.clicked()
    Keys.onEnterPressed: tile.clicked()
    Keys.onRightPressed: tile.move(true)
    Keys.onDownPressed: tile.move(true)
    Keys.onLeftPressed: tile.move(false)
    Keys.onUpPressed: tile.move(false)

    function move(forward) {
        tile.nextItemInFocusChain(forward).forceActiveFocus(Qt.TabFocusReason)
    }

    contentItem: ColumnLayout {
        spacing: 2

        Text {
            text: tile.text
            font.family: Theme.family
            font.pixelSize: tile.note === "" ? Theme.textSize : Theme.headingSize
            font.weight: tile.isChosen || tile.note !== "" ? Font.DemiBold : Font.Normal
            color: tile.isChosen ? Theme.accent : Theme.text
            wrapMode: Text.Wrap
            horizontalAlignment: tile.note === "" ? Text.AlignHCenter : Text.AlignLeft
            Layout.fillWidth: true
            Accessible.ignored: true
        }
        Note {
            text: tile.note
            visible: text !== ""
            Layout.fillWidth: true
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: tile.note === "" ? Theme.radius : Theme.cardRadius
        color: tile.isChosen ? Theme.tint : tile.hovered ? Theme.hover : Theme.card
        border.color: tile.isChosen ? Theme.accent : Theme.edge
        border.width: tile.isChosen ? 2 : 1

        Behavior on color { ColorAnimation { duration: Theme.quick } }
        FocusRing { visible: tile.visualFocus; around: parent.radius }
    }
}
