import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls // after the toolkit's, which has a Label too

/// A work that takes a while. Seen, and told to screen readers, while it has a text.
RowLayout {
    id: busy

    property string text: ""

    visible: text !== ""
    spacing: Theme.unit * 1.5
    Layout.fillWidth: true

    BusyIndicator {
        running: busy.visible && !Theme.still
        implicitWidth: Math.round(Theme.textSize * 1.8)
        implicitHeight: implicitWidth
        padding: 0
        palette.dark: Theme.works // amber works
        Accessible.ignored: true
    }
    Label {
        text: busy.text
        color: Theme.faint
        Layout.fillWidth: true
    }
}
