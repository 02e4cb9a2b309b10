pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home

/// What was dictated: to look through, search, copy, delete and export.
FocusScope {
    id: tab

    required property HistoryList history

    readonly property bool hasEntries: history.state === HistoryList.Ready || history.state === HistoryList.NoMatch

    Component.onCompleted: history.open()
    Component.onDestruction: history.close()

    Shortcut { sequences: ["Ctrl+F"]; onActivated: search.forceActiveFocus(Qt.ShortcutFocusReason) }
    Shortcut { sequences: ["Ctrl+Z"]; enabled: notice.action === "Undo"; onActivated: tab.history.answerNotice() }

    ColumnLayout {
        anchors { top: parent.top; bottom: parent.bottom; horizontalCenter: parent.horizontalCenter; topMargin: Theme.unit * 2 }
        width: Math.min(parent.width - 4 * Theme.unit, Theme.textSize * 62)
        spacing: Theme.unit

        RowLayout {
            visible: tab.hasEntries
            spacing: Theme.unit
            Layout.fillWidth: true

            Field {
                id: search

                name: "Search the history"
                placeholderText: "Search"
                text: tab.history.query
                Layout.fillWidth: true
                onTextEdited: tab.history.query = text
                Keys.onEscapePressed: event => {
                    event.accepted = text !== ""
                    tab.history.query = ""
                }
                Keys.onDownPressed: list.forceActiveFocus(Qt.TabFocusReason)
                Keys.onReturnPressed: list.forceActiveFocus(Qt.TabFocusReason)
            }
            PlainButton {
                text: "Export…"
                enabled: tab.history.state === HistoryList.Ready && !tab.history.exporting
                onClicked: formats.popup(this, 0, height)

                ActionMenu {
                    id: formats

                    ActionItem { text: "Text…"; onTriggered: tab.exportAs("txt") }
                    ActionItem { text: "Table (CSV)…"; onTriggered: tab.exportAs("csv") }
                    ActionItem { text: "JSON…"; onTriggered: tab.exportAs("json") }
                }
            }
            PlainButton {
                text: "Delete All…"
                ink: Theme.danger
                onClicked: question.open()
            }
        }
        Note {
            text: tab.history.countText
            visible: tab.hasEntries
            Layout.fillWidth: true
            Layout.leftMargin: Theme.half
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ListView {
                id: list

                // Who looks at the newest sees the next one come.
                readonly property int arrivals: tab.history.arrivals
                onArrivalsChanged: {
                    if (!atYBeginning)
                        return
                    forceLayout()
                    positionViewAtBeginning()
                }

                readonly property int page: Math.max(1, Math.floor(height / (Theme.textSize * 6)))

                anchors.fill: parent
                visible: tab.history.state === HistoryList.Ready
                model: tab.history
                clip: true
                reuseItems: true
                focus: true
                activeFocusOnTab: true
                keyNavigationEnabled: true
                boundsBehavior: Flickable.StopAtBounds
                highlightMoveDuration: 0
                cacheBuffer: Math.round(Theme.textSize * 20)
                ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
                Accessible.role: Accessible.List
                Accessible.name: "History"

                function go(row) {
                    currentIndex = Math.max(0, Math.min(count - 1, row))
                    positionViewAtIndex(currentIndex, ListView.Contain)
                }

                Keys.onPressed: event => {
                    event.accepted = true
                    if (event.key === Qt.Key_Home)
                        go(0)
                    else if (event.key === Qt.Key_End)
                        go(count - 1)
                    else if (event.key === Qt.Key_PageUp)
                        go(currentIndex - page)
                    else if (event.key === Qt.Key_PageDown)
                        go(currentIndex + page)
                    else if (event.key === Qt.Key_Delete)
                        tab.history.remove(currentIndex)
                    else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter || event.matches(StandardKey.Copy)) // qmllint disable unqualified
                        tab.history.copy(currentIndex)
                    else if (event.key === Qt.Key_Space)
                        tab.history.toggle(currentIndex)
                    else if (event.key === Qt.Key_Menu || (event.key === Qt.Key_F10 && event.modifiers & Qt.ShiftModifier))
                        tab.openMenu()
                    else
                        event.accepted = false
                }

                delegate: HistoryEntry {
                    onChosen: { list.currentIndex = index; list.forceActiveFocus(Qt.MouseFocusReason) }
                    onCopied: tab.history.copy(index)
                    onRemoved: tab.history.remove(index)
                    onUnfolded: tab.history.toggle(index)

                    TapHandler {
                        acceptedButtons: Qt.RightButton
                        onTapped: { list.currentIndex = parent.index; tab.openMenu() }
                    }
                }

                ActionMenu {
                    id: actions

                    ActionItem { text: "Copy"; onTriggered: tab.history.copy(list.currentIndex) }
                    ActionItem { text: "Show More or Less"; onTriggered: tab.history.toggle(list.currentIndex) }
                    ActionItem { text: "Delete"; ink: Theme.danger; onTriggered: tab.history.remove(list.currentIndex) }
                }
            }
            EmptyState {
                anchors.centerIn: parent
                visible: tab.history.state !== HistoryList.Ready
                         && (tab.history.state !== HistoryList.Loading || tab.history.slow)
                title: tab.history.emptyTitle
                text: tab.history.emptyText
                action: tab.history.state === HistoryList.NoMatch ? "Clear Search" : ""
                onActed: { tab.history.query = ""; search.forceActiveFocus(Qt.TabFocusReason) }
            }
        }
        Notice {
            id: notice

            kind: tab.history.noticeKind
            text: tab.history.noticeText
            action: tab.history.noticeAction
            onActed: {
                tab.history.answerNotice()
                list.forceActiveFocus(Qt.TabFocusReason)
            }
            Layout.bottomMargin: visible ? Theme.unit * 2 : 0
        }
    }
    QuestionDialog {
        id: question

        title: tab.history.deleteAllTitle
        explanation: tab.history.deleteAllText
        verb: tab.history.deleteAllVerb
        onAccepted: tab.history.removeAll()
        onClosed: list.forceActiveFocus(Qt.PopupFocusReason)
    }

    function exportAs(ending) {
        tab.history.exportAs(ending, tab.Window.window)
    }

    function openMenu() {
        if (list.currentItem)
            actions.popup(list.currentItem, Theme.unit * 4, Theme.unit * 4)
    }
}
