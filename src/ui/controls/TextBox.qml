import QtQuick
import QtQuick.Controls.Basic

/// Some lines of text. Tab moves on to the next control.
ScrollView {
    id: control

    property alias text: area.text
    property string placeholder: ""
    property alias readOnly: area.readOnly
    readonly property bool hasKeyboard: area.activeFocus
    property string name: "" // for screen readers
    /// The user has finished: the keyboard goes elsewhere.
    signal editingFinished

    implicitHeight: Theme.textSize * 7
    implicitWidth: Theme.unit * 40
    clip: true

    background: Rectangle {
        radius: Theme.radius
        color: Theme.field
        border.color: area.activeFocus ? Theme.accent : Theme.edge
        border.width: area.activeFocus ? 2 : 1
    }

    TextArea {
        id: area

        font.family: Theme.family
        font.pixelSize: Theme.textSize
        color: Theme.text
        selectionColor: Theme.accent
        selectedTextColor: Theme.accentInk
        selectByMouse: true
        wrapMode: TextEdit.Wrap
        padding: Theme.unit
        background: null
        Accessible.name: control.name
        Accessible.description: control.placeholder
        KeyNavigation.priority: KeyNavigation.BeforeItem
        Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
        Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)
        onEditingFinished: control.editingFinished()

        Text { // the toolkit's own has one line
            text: control.placeholder
            visible: area.length === 0 && area.preeditText === ""
            width: area.width
            leftPadding: area.leftPadding
            rightPadding: area.rightPadding
            topPadding: area.topPadding
            font: area.font
            color: Theme.faint
            wrapMode: Text.Wrap
            textFormat: Text.PlainText
            Accessible.ignored: true
        }
    }
}
