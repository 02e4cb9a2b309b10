pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

/// What is to be told, a line each; mostly nothing.
ColumnLayout {
    id: view

    property var notices: []
    /// The button of the one with this caption.
    signal acted(string action)

    visible: notices.length > 0
    spacing: Theme.unit
    Layout.fillWidth: true

    Repeater {
        model: view.notices

        Notice {
            required property var modelData

            kind: modelData.kind
            text: modelData.text
            action: modelData.action
            onActed: view.acted(action)
        }
    }
}
