import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Parts

/// Offline mode: its switch, and how far its set-up is.
FormGroup {
    id: group

    required property OfflineMode offline

    FormRow {
        title: "Offline mode"
        hint: group.offline.line !== "" ? group.offline.line
              : "Your speech is turned into text on this machine. Only English available in offline mode"

        PlainButton {
            text: "Cancel"
            visible: group.offline.isSettingUp
            Accessible.name: "Cancel the set-up of offline mode"
            onClicked: group.offline.cancel()
        }
        Toggle {
            value: group.offline.isOn || group.offline.isSettingUp
            enabled: !group.offline.isSettingUp
            Accessible.name: "Offline mode"
            Accessible.description: group.offline.line
            onChosen: on => group.offline.isOn = on
        }
    }
    FormRow {
        stacked: true
        visible: group.offline.isSettingUp

        Progress {
            name: "Set-up of offline mode"
            value: group.offline.progress
            Layout.fillWidth: true
        }
    }
    FormRow {
        stacked: true
        visible: group.offline.fault !== ""

        Notice {
            kind: "error"
            text: group.offline.fault
        }
    }
}
