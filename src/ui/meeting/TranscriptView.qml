pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import Fenlo.Controls
import Fenlo.Meeting

/// A transcript of any length. A live one stays with its newest row, unless the user looks at others.
FocusScope {
    id: view

    required property TranscriptList transcript
    property bool isLive: false
    property MeetingAdapter session: null // in which speakers are named and rows starred; null where one only reads
    readonly property bool canEdit: session !== null
    readonly property real contentHeight: list.contentHeight
    /// The user went to this row: what scrolls around the list is to show it too.
    signal rowShown(Item row)

    ListView {
        id: list

        property bool isAtNewest: true // as the user has left it
        property bool isNaming: false

        readonly property int page: Math.max(1, Math.floor(height / (Theme.textSize * 5)))

        anchors.fill: parent
        model: view.transcript
        clip: true
        reuseItems: true
        focus: true
        activeFocusOnTab: true
        keyNavigationEnabled: true
        boundsBehavior: Flickable.StopAtBounds
        highlightMoveDuration: 0
        cacheBuffer: Math.round(Theme.textSize * 30)
        Accessible.role: Accessible.List
        Accessible.name: "Transcript"
        ScrollBar.vertical: ScrollBar {
            id: bar

            policy: ScrollBar.AsNeeded
            onPressedChanged: list.isAtNewest = !pressed && list.atYEnd
        }
        onMovementStarted: isAtNewest = false
        onMovementEnded: isAtNewest = atYEnd
        onCountChanged: soon.restart()
        onHeightChanged: soon.restart()
        onWidthChanged: soon.restart()
        Component.onCompleted: keepUp()

        Timer { // when the rows have their heights
            id: soon

            interval: 0
            onTriggered: list.keepUp()
        }

        function keepUp() {
            if (!view.isLive || !isAtNewest || isNaming)
                return
            forceLayout()
            positionViewAtEnd()
        }
        function showNewest() {
            isAtNewest = true
            currentIndex = count - 1
            keepUp()
        }
        function go(row) {
            currentIndex = Math.max(0, Math.min(count - 1, row))
            positionViewAtIndex(currentIndex, ListView.Contain)
            isAtNewest = currentIndex === count - 1
            if (currentItem)
                view.rowShown(currentItem)
        }

        Keys.onPressed: event => {
            event.accepted = true
            if (event.key === Qt.Key_Up)
                go(currentIndex - 1)
            else if (event.key === Qt.Key_Down)
                go(currentIndex + 1)
            else if (event.key === Qt.Key_Home)
                go(0)
            else if (event.key === Qt.Key_End)
                go(count - 1)
            else if (event.key === Qt.Key_PageUp)
                go(currentIndex - page)
            else if (event.key === Qt.Key_PageDown)
                go(currentIndex + page)
            else if (view.canEdit && (event.key === Qt.Key_F2 || event.key === Qt.Key_Return || event.key === Qt.Key_Enter))
                view.session.editSpeaker(currentIndex)
            else if (view.canEdit && event.key === Qt.Key_Space)
                view.session.toggleStar(currentIndex)
            else
                event.accepted = false
        }

        delegate: SegmentRow {
            canEdit: view.canEdit
            onChosen: {
                list.currentIndex = index
                list.forceActiveFocus(Qt.MouseFocusReason)
            }
            onEditWanted: {
                list.currentIndex = index
                view.session.editSpeaker(index)
            }
            onTyped: name => view.session.typeSpeakerName(name)
            onNamed: name => {
                view.session.nameSpeaker(name)
                list.forceActiveFocus(Qt.OtherFocusReason)
            }
            onAbandoned: {
                view.session.cancelEditing()
                list.forceActiveFocus(Qt.OtherFocusReason)
            }
            onStarred: view.session.toggleStar(index)
            onIsEditingChanged: {
                list.isNaming = isEditing
                list.keepUp()
            }
        }
    }
    PlainButton {
        anchors { bottom: parent.bottom; horizontalCenter: parent.horizontalCenter; bottomMargin: Theme.unit }
        visible: view.isLive && !list.isAtNewest && !list.atYEnd
        text: "Newest ↓"
        Accessible.name: "Newest"
        onClicked: list.showNewest()
    }
}
