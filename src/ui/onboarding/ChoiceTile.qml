import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls

/// One of some choices: a word, and perhaps a line below it. Arrows lead to its neighbours.
RadioButton {
    id: tile

    property string note: ""
    property bool isChosen: false // what the model says
    /// The user wants this one.
    signal chosen

    checked: isChosen
    autoExclusive: false // the model knows the others
    indicator: null

    implicitWidth: Math.max(Theme.textSize * 4, implicitContentWidth + leftPadding + rightPadding)
    implicitHeight: Math.max(Theme.controlHeight, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: Theme.unit * 2
    rightPadding: Theme.unit * 2
    topPadding: Theme.unit
    bottomPadding: Theme.unit
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.description: note
    onClicked: decide()
    Accessible.onPressAction: decide()
    Accessible.onToggleAction: decide()
    Keys.onReturnPressed: decide()
    Keys.onEnterPressed: decide()
    Keys.onRightPressed: tile.move(true)
    Keys.onDownPressed: tile.move(true)
    Keys.onLeftPressed: tile.move(false)
    Keys.onUpPressed: tile.move(false)

    // The model may refuse: what is shown is then its value again.
    function decide() {
        tile.chosen()
        tile.checked = Qt.binding(() => tile.isChosen)
    }
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
