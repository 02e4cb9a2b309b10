import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls // after the toolkit's, which has a Label too
import Fenlo.Update

ApplicationWindow {
    id: window

    required property Appearance appearance
    required property UpdateAdapter update

    readonly property int stage: update.stage
    readonly property bool isWorking: stage === UpdateAdapter.Checking || stage === UpdateAdapter.Downloading
        || stage === UpdateAdapter.Verifying

    title: "Fenlo Updates"
    width: Math.min(Math.round(Theme.textSize * 42), Screen.desktopAvailableWidth)
    height: Math.min(Math.round(Theme.textSize * 30), Screen.desktopAvailableHeight - Theme.controlHeight)
    minimumWidth: Math.min(Math.round(Theme.textSize * 30), Screen.desktopAvailableWidth)
    minimumHeight: Math.min(Math.round(Theme.textSize * 22), Screen.desktopAvailableHeight - Theme.controlHeight)
    color: Theme.page
    visible: false

    LayoutMirroring.enabled: appearance.rightToLeft
    LayoutMirroring.childrenInherit: true

    Binding { target: Theme; property: "dark"; value: window.appearance.dark }
    Binding { target: Theme; property: "still"; value: window.appearance.still }
    Binding { target: Theme; property: "textSize"; value: window.appearance.textSize }
    Binding { target: Theme; property: "family"; value: window.appearance.family }

    Timer { // once the buttons are those of the stage
        id: shown

        interval: 0
        onTriggered: window.takeKeyboard()
    }
    Shortcut { sequences: ["Escape", "Ctrl+W"]; onActivated: window.close() }

    // The button that most will want next has the keyboard.
    onStageChanged: shown.restart()
    onActiveChanged: if (active && !activeFocusControl) takeKeyboard()

    function takeKeyboard() {
        // What was handed over is not opened twice by a key that was meant for something else.
        for (const button of stage === UpdateAdapter.HandedOver ? [leave] : [install, open, again, leave])
            if (button.visible)
                return button.forceActiveFocus(Qt.TabFocusReason)
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        ColumnLayout {
            spacing: Theme.unit * 1.5
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.unit * 3

            Heading {
                text: window.update.title
                visible: window.stage !== UpdateAdapter.Checking
                textFormat: Text.PlainText
                Layout.fillWidth: true
            }
            Busy { text: window.stage === UpdateAdapter.Checking ? window.update.title : "" }
            Label {
                text: window.update.text
                visible: text !== "" && window.stage !== UpdateAdapter.Verifying
                color: Theme.faint
                Layout.fillWidth: true
            }
            Progress {
                value: window.update.progress
                name: "Downloaded"
                visible: window.stage === UpdateAdapter.Downloading
                Layout.fillWidth: true
            }
            Busy { text: window.stage === UpdateAdapter.Verifying ? window.update.text : "" }
            Notice {
                kind: "error"
                text: window.stage === UpdateAdapter.Failed ? window.update.fault : ""
            }
            TextBox {
                text: window.update.notes
                name: "What is new"
                readOnly: true
                visible: text !== ""
                Layout.fillWidth: true
                Layout.fillHeight: true
            }
            Item {
                visible: window.update.notes === ""
                Layout.fillHeight: true
            }
        }
        Rectangle {
            color: Theme.line
            implicitHeight: 1
            Layout.fillWidth: true
        }
        Flow {
            layoutDirection: Qt.RightToLeft
            spacing: Theme.unit
            Layout.fillWidth: true
            Layout.margins: Theme.unit * 2

            PrimaryButton {
                id: install

                text: "Install"
                visible: window.stage === UpdateAdapter.Available && window.update.canInstall
                onClicked: window.update.install()
            }
            PrimaryButton {
                id: open

                text: "Open Installer"
                visible: window.stage === UpdateAdapter.Verified
                    || (window.stage === UpdateAdapter.HandedOver && window.update.hasInstaller)
                onClicked: window.update.openInstaller()
            }
            PrimaryButton {
                id: again

                text: "Try Again"
                visible: window.stage === UpdateAdapter.Failed
                onClicked: window.update.tryAgain()
            }
            PlainButton {
                text: "Show in Folder"
                visible: window.stage === UpdateAdapter.Verified || window.stage === UpdateAdapter.HandedOver
                onClicked: window.update.showInFolder()
            }
            PlainButton {
                id: leave

                text: window.stage === UpdateAdapter.Available ? "Later" : window.isWorking ? "Cancel" : "Close"
                onClicked: window.close()
            }
            PlainButton {
                text: "Skip This Version"
                visible: window.stage === UpdateAdapter.Available
                onClicked: {
                    window.update.skip()
                    window.close()
                }
            }
        }
    }
}
