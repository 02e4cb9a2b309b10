import QtQuick
import QtQuick.Controls.Basic
import Fenlo.Controls

/// One of some words. Arrows lead to its neighbours.
RadioButton {
    id: pill

    property bool isChosen: false // what the model says
    /// The user wants this one.
    signal chosen

    checked: isChosen
    autoExclusive: false // the model knows the others
    indicator: null
    padding: 0
    leftPadding: Theme.unit * 1.75
    rightPadding: Theme.unit * 1.75
    implicitHeight: Math.round(Theme.textSize * 2.3)
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    onClicked: decide()
    Accessible.onPressAction: decide()
    Accessible.onToggleAction: decide()
    Keys.onReturnPressed: decide()
    Keys.onEnterPressed: decide()
    Keys.onRightPressed: pill.move(true)
    Keys.onDownPressed: pill.move(true)
    Keys.onLeftPressed: pill.move(false)
    Keys.onUpPressed: pill.move(false)

    // The model may refuse: what is shown is then its value again.
    function decide() {
        pill.chosen()
        pill.checked = Qt.binding(() => pill.isChosen)
    }
    function move(forward) {
        pill.nextItemInFocusChain(forward).forceActiveFocus(Qt.TabFocusReason)
    }

    contentItem: Text {
        text: pill.text
        font.family: Theme.family
        font.pixelSize: Theme.textSize
        font.weight: pill.isChosen ? Font.DemiBold : Font.Normal
        color: pill.isChosen ? Theme.accent : Theme.text
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: height / 2
        color: pill.isChosen ? Theme.tint : pill.hovered ? Theme.hover : Theme.field
        border.color: pill.isChosen ? Theme.accent : Theme.edge

        FocusRing { visible: pill.visualFocus; around: parent.radius }
    }
}
