pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

/// What is to be told, a line each; mostly nothing.
ColumnLayout {
    id: view

    property var notices: []
    /// The button of one that leads to this section of the settings.
    signal settingsWanted(string section)
    /// Another button.
    signal acted
    signal closed(string text)

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
            canClose: modelData.canClose
            onActed: modelData.section !== "" ? view.settingsWanted(modelData.section) : view.acted()
            onClosed: view.closed(modelData.text)
        }
    }
}
