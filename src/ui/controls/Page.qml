import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls // after the toolkit's, which has a Label too

/// A page that scrolls: a heading and what is below it, in a column of a width that reads well. What has the keyboard
/// is scrolled into view.
ScrollView {
    id: page

    property string heading: ""
    property string introduction: ""
    default property alias content: column.data

    readonly property real margin: Theme.unit * 3

    contentWidth: availableWidth
    contentHeight: column.implicitHeight + 2 * margin
    Accessible.role: Accessible.Pane
    Accessible.name: heading

    readonly property Item focused: Window.activeFocusItem
    onFocusedChanged: if (focused) reveal(focused)

    /// Scrolls so far that this can be seen, where it is on the page.
    function reveal(item) {
        if (!within(item))
            return
        const flick = page.contentItem as Flickable
        const top = item.mapToItem(column, 0, 0).y + margin
        const bottom = top + item.height
        if (top - Theme.unit * 2 < flick.contentY)
            flick.contentY = Math.max(0, top - Theme.unit * 2)
        else if (bottom + Theme.unit * 2 > flick.contentY + page.availableHeight)
            flick.contentY = Math.min(Math.max(0, page.contentHeight - page.availableHeight),
                                      bottom + Theme.unit * 2 - page.availableHeight)
    }

    // What no control has use for scrolls the page.
    Keys.onPressed: event => {
        const lines = { [Qt.Key_Up]: -3, [Qt.Key_Down]: 3 }[event.key] ?? 0
        const pages = { [Qt.Key_PageUp]: -0.9, [Qt.Key_PageDown]: 0.9, [Qt.Key_Home]: -1000, [Qt.Key_End]: 1000 }[event.key] ?? 0
        event.accepted = event.modifiers === Qt.NoModifier && (lines !== 0 || pages !== 0)
        if (event.accepted)
            scroll(lines * Theme.textSize + pages * availableHeight)
    }

    function scroll(distance) {
        const flick = page.contentItem as Flickable
        flick.contentY = Math.max(0, Math.min(page.contentHeight - page.availableHeight, flick.contentY + distance))
    }

    function within(item) {
        for (let it = item; it; it = it.parent)
            if (it === column)
                return true
        return false
    }

    ColumnLayout {
        id: column

        x: Math.max(page.margin, (page.availableWidth - width) / 2)
        y: page.margin
        width: Math.min(page.availableWidth - 2 * page.margin, Theme.textSize * 55)
        spacing: Theme.unit * 3

        Heading {
            text: page.heading
            visible: text !== ""
            Layout.fillWidth: true
        }
        Label {
            text: page.introduction
            visible: text !== ""
            color: Theme.faint
            Layout.fillWidth: true
            Layout.topMargin: -Theme.unit * 2
        }
    }
}
