pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Meeting

/// All meetings of the archive: to look through, search, open and delete.
FocusScope {
    id: face

    required property MeetingAdapter meeting

    property string doomed: "" // the meeting that the question is about

    Shortcut { sequences: ["Ctrl+F"]; onActivated: search.forceActiveFocus(Qt.ShortcutFocusReason) }
    Keys.onEscapePressed: face.leave()

    /// The list keeps its place until the user is back.
    function open(item) {
        face.meeting.historyRow = item.meetingId
        face.meeting.historyOffset = item.y - list.contentY
        face.meeting.select(item.meetingId)
    }

    function leave() {
        face.meeting.historyRow = ""
        face.meeting.showMeetingHistory = false
    }

    /// The keyboard goes to the list, or from an empty one to what is of use.
    function takeKeyboard() {
        if (list.count > 0)
            list.forceActiveFocus(Qt.TabFocusReason)
        else if (face.meeting.searchQuery !== "")
            search.forceActiveFocus(Qt.TabFocusReason)
        else
            back.forceActiveFocus(Qt.TabFocusReason)
    }

    function ask(id) {
        doomed = id
        question.open()
    }

    ColumnLayout {
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter; topMargin: Theme.unit * 2 }
        width: Math.min(parent.width - 4 * Theme.unit, Theme.textSize * 55)
        spacing: Theme.unit * 1.5

        RowLayout {
            spacing: Theme.unit
            Layout.fillWidth: true

            IconButton {
                id: back

                name: "Back"
                sign: "‹"
                font.pixelSize: Theme.titleSize
                onClicked: face.leave()
            }
            Heading {
                text: "Meeting History"
                Layout.fillWidth: true
            }
        }
        Field {
            id: search

            name: "Search meetings"
            placeholderText: "Search meetings..."
            text: face.meeting.searchQuery
            visible: list.count > 0 || text !== ""
            rightPadding: clear.visible ? clear.width : leftPadding
            Layout.fillWidth: true
            onTextEdited: face.meeting.searchQuery = text
            Keys.onEscapePressed: event => {
                event.accepted = text !== ""
                face.meeting.searchQuery = ""
            }
            Keys.onDownPressed: list.forceActiveFocus(Qt.TabFocusReason)
            Keys.onReturnPressed: list.forceActiveFocus(Qt.TabFocusReason)

            IconButton {
                id: clear

                anchors.right: parent.right
                name: "Clear the search"
                sign: "✕"
                hoverFill: "transparent"
                visible: search.text !== ""
                onClicked: {
                    face.meeting.searchQuery = ""
                    search.forceActiveFocus(Qt.TabFocusReason)
                }
            }
        }
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: list

                readonly property int page: Math.max(1, Math.floor(height / (Theme.textSize * 4)))
                property bool hadRows: false

                anchors.fill: parent
                model: face.meeting.history
                clip: true
                reuseItems: true
                focus: true
                activeFocusOnTab: true
                keyNavigationEnabled: true
                boundsBehavior: Flickable.StopAtBounds
                highlightMoveDuration: 0
                ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
                Accessible.role: Accessible.List
                Accessible.name: "Meetings"

                onCountChanged: {
                    if (hadRows && count === 0 && activeFocus)
                        face.takeKeyboard()
                    hadRows = count > 0
                }

                Timer { // when the list has its height
                    interval: 0
                    running: true
                    onTriggered: list.restore()
                }

                /// To where it stood when one of its meetings was opened.
                function restore() {
                    const row = face.meeting.history.rowOf(face.meeting.historyRow)
                    if (row < 0)
                        return
                    currentIndex = row
                    positionViewAtIndex(row, ListView.Contain)
                    contentY = itemAtIndex(row).y - face.meeting.historyOffset
                    returnToBounds()
                }

                function go(row) {
                    currentIndex = Math.max(0, Math.min(count - 1, row))
                    positionViewAtIndex(currentIndex, ListView.Contain)
                }

                Keys.onPressed: event => {
                    const it = currentItem as MeetingRow
                    event.accepted = true
                    if (event.key === Qt.Key_Home)
                        go(0)
                    else if (event.key === Qt.Key_End)
                        go(count - 1)
                    else if (event.key === Qt.Key_PageUp)
                        go(currentIndex - page)
                    else if (event.key === Qt.Key_PageDown)
                        go(currentIndex + page)
                    else if (it && (event.key === Qt.Key_Return || event.key === Qt.Key_Enter || event.key === Qt.Key_Space))
                        face.open(it)
                    else if (it && event.key === Qt.Key_Delete)
                        face.ask(it.meetingId)
                    else
                        event.accepted = false
                }

                delegate: MeetingRow {
                    canDelete: true
                    onPicked: face.open(this)
                    onDeleteWanted: {
                        list.currentIndex = index
                        face.ask(meetingId)
                    }
                }
            }
            EmptyState {
                anchors.centerIn: parent
                visible: list.count === 0
                title: face.meeting.historyTitle
                text: face.meeting.historyText
            }
        }
    }
    QuestionDialog {
        id: question

        title: "Delete this meeting?"
        explanation: face.doomed === "" ? "" : face.meeting.deletionText(face.doomed)
        verb: "Delete Meeting"
        onAccepted: face.meeting.deletePastMeeting(face.doomed)
        onClosed: face.takeKeyboard()
    }
}
