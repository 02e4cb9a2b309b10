import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls // after the toolkit's, which has a Label too

/// A meeting of the archive in a list.
ItemDelegate {
    id: row

    required property int index
    required property string meetingId
    required property string title
    required property string details
    required property string snippet
    property bool canDelete: false

    readonly property bool isCurrent: ListView.isCurrentItem
    readonly property bool hasKeyboard: visualFocus || (isCurrent && ListView.view.activeFocus)

    signal picked
    signal deleteWanted

    width: ListView.view ? ListView.view.width : implicitWidth
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: Theme.unit * 2
    rightPadding: Theme.unit * 2
    topPadding: Theme.unit * 1.25
    bottomPadding: Theme.unit * 1.25
    focusPolicy: ListView.view ? Qt.NoFocus : Qt.StrongFocus
    onClicked: picked()
    Keys.onReturnPressed: picked()
    Keys.onEnterPressed: picked()
    ListView.onPooled: visible = false
    ListView.onReused: visible = true
    Accessible.role: Accessible.ListItem
    Accessible.name: title + ", " + details
    Accessible.description: snippet
    Accessible.focusable: true
    Accessible.focused: hasKeyboard
    Accessible.selected: isCurrent
    Accessible.onPressAction: picked()

    background: Rectangle {
        radius: Theme.radius
        color: row.hovered || row.isCurrent && row.hasKeyboard ? Theme.hover : "transparent"

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: Theme.line
        }
        FocusRing { visible: row.hasKeyboard; anchors.margins: 1; around: Theme.half }
    }
    contentItem: RowLayout {
        spacing: Theme.unit * 2

        ColumnLayout {
            spacing: 2
            Layout.fillWidth: true

            Label {
                text: row.title
                font.weight: Font.DemiBold
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
                Layout.fillWidth: true
                Accessible.ignored: true
            }
            Note {
                text: row.details
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
                Layout.fillWidth: true
                Accessible.ignored: true
            }
            Note {
                text: row.snippet
                visible: text !== ""
                color: Theme.text
                Layout.fillWidth: true
                Accessible.ignored: true
            }
        }
        LinkButton {
            text: "Delete…"
            ink: Theme.danger
            visible: row.canDelete
            opacity: row.hovered || row.hasKeyboard ? 1 : 0
            focusPolicy: Qt.NoFocus
            Accessible.name: "Delete " + row.title
            onClicked: row.deleteWanted()
        }
        Text {
            text: "›"
            color: Theme.faint
            font.pixelSize: Theme.headingSize
            Accessible.ignored: true
        }
    }
}
