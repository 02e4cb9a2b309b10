import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls

/// One past dictation in the list: when, how long, and the words as they were said.
ItemDelegate {
    id: entry

    required property int index
    required property string when
    required property string words
    required property string speed
    required property string length
    required property string entryText
    required property string more
    required property bool isCopied

    readonly property bool isCurrent: ListView.isCurrentItem
    readonly property bool hasKeyboard: isCurrent && ListView.view.activeFocus
    readonly property bool isActive: hovered || isCurrent

    signal copied
    signal removed
    signal unfolded
    signal chosen

    width: ListView.view ? ListView.view.width : 0
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: Theme.unit * 2
    rightPadding: Theme.unit * 2
    topPadding: Theme.unit * 1.5
    bottomPadding: Theme.unit * 1.5
    focusPolicy: Qt.NoFocus
    onClicked: chosen()
    // A row that waits for another use would still be read out.
    ListView.onPooled: visible = false
    ListView.onReused: visible = true
    Accessible.role: Accessible.ListItem
    Accessible.name: when + ", " + words + ": " + entryText
    Accessible.description: speed + ", " + length
    Accessible.focusable: true
    Accessible.focused: hasKeyboard
    Accessible.selected: isCurrent
    Accessible.onPressAction: chosen()

    background: Rectangle {
        radius: Theme.radius
        color: entry.isCurrent ? Theme.card : entry.hovered ? Theme.hover : "transparent"

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.line
        }
        FocusRing { visible: entry.hasKeyboard; anchors.margins: 1; around: Theme.half }
    }
    contentItem: ColumnLayout {
        spacing: Theme.half

        RowLayout {
            spacing: Theme.unit * 1.5
            Layout.fillWidth: true

            Note { text: entry.when; color: Theme.text; font.weight: Font.DemiBold; wrapMode: Text.NoWrap; Accessible.ignored: true }
            Note { text: entry.words; wrapMode: Text.NoWrap; Accessible.ignored: true }
            Note { text: entry.speed; wrapMode: Text.NoWrap; Accessible.ignored: true }
            Note { text: entry.length; wrapMode: Text.NoWrap; Accessible.ignored: true }
            Item { Layout.fillWidth: true }
            LinkButton {
                text: entry.isCopied ? "Copied" : "Copy"
                ink: entry.isCopied ? Theme.good : Theme.accent
                opacity: entry.isActive || entry.isCopied ? 1 : 0
                focusPolicy: Qt.NoFocus
                onClicked: entry.copied()
            }
            LinkButton {
                text: "Delete"
                ink: Theme.faint
                opacity: entry.isActive ? 1 : 0
                focusPolicy: Qt.NoFocus
                onClicked: entry.removed()
            }
        }
        Text {
            text: entry.entryText
            textFormat: Text.PlainText
            font.family: Theme.family
            font.pixelSize: Theme.textSize
            color: Theme.text
            lineHeight: 1.2
            wrapMode: Text.Wrap
            Layout.fillWidth: true
            Layout.maximumWidth: Theme.textSize * 48
            Accessible.ignored: true
        }
        LinkButton {
            text: entry.more
            visible: text !== ""
            focusPolicy: Qt.NoFocus
            Layout.leftMargin: -Theme.half
            onClicked: entry.unfolded()
        }
    }
}
