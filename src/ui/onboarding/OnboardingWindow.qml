import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

ApplicationWindow {
    id: window

    required property Appearance appearance
    required property OnboardingAdapter start

    readonly property var files: ["LoginStep.qml", "WelcomeStep.qml", "ProfessionStep.qml", "ProfessionDetailsStep.qml",
        "TwoModesStep.qml", "PermissionsStep.qml", "MicModeStep.qml", "RecogniserStep.qml", "PracticeStep.qml",
        "VoiceStep.qml", "FeaturesStep.qml", "EmailCollectionStep.qml", "DoneStep.qml"]
    readonly property var page: content.item // a StepPage

    title: start.voiceProfileOnly ? "Voice Profile" : "Welcome to Fenlo"
    width: Math.min(Math.round(Theme.textSize * (start.voiceProfileOnly ? 50 : 64)), Screen.desktopAvailableWidth)
    height: Math.min(Math.round(Theme.textSize * 46), Screen.desktopAvailableHeight - 2 * Theme.controlHeight)
    minimumWidth: Math.round(Theme.textSize * 30)
    minimumHeight: Math.round(Theme.textSize * 22)
    color: Theme.page
    visible: false

    LayoutMirroring.enabled: appearance.rightToLeft
    LayoutMirroring.childrenInherit: true

    Binding { target: Theme; property: "dark"; value: window.appearance.dark }
    Binding { target: Theme; property: "still"; value: window.appearance.still }
    Binding { target: Theme; property: "textSize"; value: window.appearance.textSize }
    Binding { target: Theme; property: "family"; value: window.appearance.family }

    Shortcut { sequences: ["Ctrl+W"]; onActivated: window.close() }
    // Not out of the steps between, whose way back is a long one.
    Shortcut {
        sequences: ["Escape"]
        enabled: window.start.voiceProfileOnly || window.start.screen === 0 // the login
        onActivated: window.close()
    }
    Shortcut { sequences: ["Alt+Left"]; onActivated: window.start.back() }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Progress {
            value: window.start.progress
            name: "Progress"
            visible: !window.start.voiceProfileOnly
            Layout.fillWidth: true
        }
        Loader {
            id: content

            readonly property string wanted: window.files[window.start.screen]

            focus: true
            Layout.fillWidth: true
            Layout.fillHeight: true
            onWantedChanged: setSource(wanted, { start: window.start })
            onLoaded: {
                if (window.page.first)
                    window.page.first.forceActiveFocus(Qt.TabFocusReason)
                else
                    next.forceActiveFocus(Qt.TabFocusReason)
            }
        }
        Rectangle {
            color: Theme.line
            implicitHeight: 1
            visible: buttons.visible
            Layout.fillWidth: true
        }
        RowLayout {
            id: buttons

            visible: window.start.canGoBack || next.text !== "" || skip.text !== ""
            spacing: Theme.unit
            Layout.fillWidth: true
            Layout.margins: Theme.unit * 2

            PlainButton {
                text: "Back"
                visible: window.start.canGoBack
                onClicked: window.start.back()
            }
            Item { Layout.fillWidth: true }
            LinkButton {
                id: skip

                text: window.page ? window.page.skipCaption : ""
                visible: text !== ""
                implicitHeight: Theme.controlHeight
                leftPadding: Theme.unit * 2
                rightPadding: Theme.unit * 2
                onClicked: window.page.skip()
            }
            PrimaryButton {
                id: next

                text: window.page ? window.page.nextCaption : ""
                visible: text !== ""
                enabled: window.page !== null && window.page.canContinue
                onClicked: window.page.proceed()
                // What the page was for is done.
                onVisibleChanged: if (visible) forceActiveFocus(Qt.TabFocusReason)
            }
        }
    }
}
