import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls // after the toolkit's, which has a Label too
import Fenlo.Meeting

/// What somebody said: who, when, and the words.
ItemDelegate {
    id: row

    required property int index
    required property string initial
    required property real hue
    required property string speaker
    required property string time
    required property string words
    required property bool isStarred
    required property bool isFault
    required property bool isEditing
    property bool canEdit: false

    readonly property bool isCurrent: ListView.isCurrentItem
    readonly property bool hasKeyboard: isCurrent && ListView.view.activeFocus && !isEditing

    signal chosen
    signal editWanted
    signal typed(string name)
    signal named(string name)
    signal abandoned
    signal starred

    width: ListView.view ? ListView.view.width : 0
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: Theme.unit * 1.5
    rightPadding: Theme.unit * 1.5
    topPadding: Theme.unit
    bottomPadding: Theme.unit
    focusPolicy: Qt.NoFocus
    onClicked: chosen()
    // The row that is chosen has the list's keyboard; the space bar is for its star, not for pressing it.
    Keys.forwardTo: ListView.view ? [ListView.view] : []
    // A row that waits for another use would still be read out.
    ListView.onPooled: visible = false
    ListView.onReused: visible = true
    Accessible.role: Accessible.ListItem
    Accessible.name: speaker + ", " + time + ": " + words
    Accessible.description: isStarred ? "Starred" : ""
    Accessible.focusable: true
    Accessible.focused: hasKeyboard
    Accessible.selected: isCurrent
    Accessible.onPressAction: chosen()

    background: Rectangle {
        radius: Theme.radius
        color: row.hovered || row.hasKeyboard ? Theme.hover : "transparent"

        FocusRing { visible: row.hasKeyboard; anchors.margins: 1; around: Theme.half }
    }
    contentItem: RowLayout {
        spacing: Theme.unit * 1.5

        SpeakerBadge {
            initial: row.initial
            hue: row.hue
            Layout.alignment: Qt.AlignTop
        }
        ColumnLayout {
            spacing: 2
            Layout.fillWidth: true

            RowLayout {
                spacing: Theme.unit
                Layout.fillWidth: true

                LinkButton {
                    text: row.speaker
                    ink: Theme.text
                    font.weight: Font.DemiBold
                    visible: row.canEdit && !row.isEditing
                    focusPolicy: Qt.NoFocus
                    Accessible.name: "Rename " + row.speaker
                    Layout.leftMargin: -Theme.half
                    Layout.rightMargin: -Theme.half
                    Layout.maximumWidth: Theme.textSize * 22
                    onClicked: row.editWanted()

                    Tip {
                        text: "Rename"
                        isWanted: (parent as LinkButton)?.hovered ?? false
                    }
                }
                Label {
                    text: row.speaker
                    visible: !row.canEdit
                    font.weight: Font.DemiBold
                    wrapMode: Text.NoWrap
                    elide: Text.ElideRight
                    Layout.maximumWidth: Theme.textSize * 22
                    Accessible.ignored: true
                }
                Field {
                    name: "Name of " + row.speaker
                    visible: row.isEditing
                    implicitHeight: Math.round(Theme.textSize * 2.1)
                    implicitWidth: Theme.textSize * 14
                    onVisibleChanged: begin()
                    Component.onCompleted: begin()
                    onTextEdited: row.typed(text)
                    onEditingFinished: finish()
                    Keys.onReturnPressed: finish() // the list would begin anew
                    Keys.onEnterPressed: finish()
                    Keys.onEscapePressed: row.abandoned()

                    function finish() {
                        if (row.isEditing)
                            row.named(text)
                    }

                    function begin() {
                        if (!visible) {
                            focus = false // or the list would give it the keyboard again
                            return
                        }
                        text = row.speaker
                        selectAll()
                        forceActiveFocus(Qt.OtherFocusReason)
                    }
                }
                Note {
                    text: row.time
                    wrapMode: Text.NoWrap
                    Accessible.ignored: true
                }
                Item { Layout.fillWidth: true }
                IconButton {
                    name: row.isStarred ? "Remove the star" : "Star"
                    sign: row.isStarred ? "★" : "☆"
                    ink: row.isStarred ? Theme.works : Theme.faint
                    visible: row.canEdit
                    opacity: row.isStarred || row.hovered || row.hasKeyboard ? 1 : 0.35
                    implicitHeight: Math.round(Theme.textSize * 1.8)
                    implicitWidth: implicitHeight
                    focusPolicy: Qt.NoFocus
                    onClicked: row.starred()
                }
                Text {
                    text: "★"
                    visible: !row.canEdit && row.isStarred
                    color: Theme.works
                    font.pixelSize: Theme.textSize
                    Accessible.ignored: true
                }
            }
            Text {
                text: row.words
                textFormat: Text.PlainText
                font.family: Theme.family
                font.pixelSize: Theme.textSize
                font.italic: row.isFault
                color: row.isFault ? Theme.danger : Theme.text
                lineHeight: 1.25
                wrapMode: Text.Wrap
                Layout.fillWidth: true
                Layout.maximumWidth: Theme.textSize * 52
                Accessible.ignored: true
            }
        }
    }
}
