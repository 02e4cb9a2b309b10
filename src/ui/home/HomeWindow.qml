pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home
import Fenlo.Meeting
import Fenlo.Parts

ApplicationWindow {
    id: window

    required property Appearance appearance
    required property DashboardAdapter dashboard
    required property MeetingAdapter meeting
    required property HistoryList history
    required property SettingsAdapter settings
    required property SnippetList snippets
    required property VoiceProfileAdapter voice
    required property AboutAdapter about
    required property AccountAdapter account
    required property ServiceKeyList serviceKeys
    required property OfflineMode offline
    required property ModelList offlineModels
    required property MicrophoneChoice microphone
    property int tab: 0 // of the tabs below, by its number

    readonly property var tabs: [
        { number: 0, title: "Dashboard", file: "DashboardTab.qml", properties: { dashboard: window.dashboard } },
        { number: 1, title: "Meeting", file: "../Meeting/MeetingTab.qml", properties: { meeting: window.meeting } },
        { number: 4, title: "History", file: "HistoryTab.qml", properties: { history: window.history } },
        {
            number: 5, title: "Settings", file: "SettingsTab.qml",
            properties: {
                settings: window.settings,
                snippets: window.snippets,
                appearance: window.appearance,
                voice: window.voice,
                about: window.about,
                account: window.account,
                serviceKeys: window.serviceKeys,
                offline: window.offline,
                offlineModels: window.offlineModels,
                microphone: window.microphone,
            }
        },
    ]
    readonly property int place: Math.max(0, tabs.findIndex(it => it.number === tab))

    title: "Fenlo"
    width: Math.min(Math.round(Theme.textSize * 74), Screen.desktopAvailableWidth)
    height: Math.min(Math.round(Theme.textSize * 52), Screen.desktopAvailableHeight - Theme.controlHeight)
    minimumWidth: Math.round(Theme.textSize * 36)
    minimumHeight: Math.round(Theme.textSize * 28)
    color: Theme.page
    visible: false

    LayoutMirroring.enabled: appearance.rightToLeft
    LayoutMirroring.childrenInherit: true

    Binding { target: Theme; property: "dark"; value: window.appearance.dark }
    Binding { target: Theme; property: "still"; value: window.appearance.still }
    Binding { target: Theme; property: "textSize"; value: window.appearance.textSize }
    Binding { target: Theme; property: "family"; value: window.appearance.family }

    Shortcut { sequences: ["Ctrl+W"]; onActivated: window.close() }
    Shortcut { sequences: ["Ctrl+Tab", "Ctrl+PgDown"]; onActivated: window.turn(1) }
    Shortcut { sequences: ["Ctrl+Shift+Tab", "Ctrl+PgUp"]; onActivated: window.turn(-1) }

    function turn(by) {
        window.tab = window.tabs[(window.place + by + window.tabs.length) % window.tabs.length].number
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0
        Keys.onEscapePressed: window.close() // what is within has had its turn

        TabBar {
            id: bar

            currentIndex: window.place
            Layout.alignment: Qt.AlignHCenter
            Layout.topMargin: Theme.unit * 1.5
            Layout.bottomMargin: Theme.unit * 1.5
            spacing: Theme.half
            background: null

            Repeater {
                model: window.tabs

                TabButton {
                    id: button

                    required property var modelData

                    text: modelData.title
                    width: implicitWidth
                    implicitHeight: Theme.controlHeight
                    leftPadding: Theme.unit * 2
                    rightPadding: Theme.unit * 2
                    font.family: Theme.family
                    font.pixelSize: Theme.textSize
                    font.weight: checked ? Font.DemiBold : Font.Normal
                    onClicked: window.tab = modelData.number
                    Accessible.name: text
                    Accessible.selectable: true
                    Accessible.selected: checked
                    Accessible.onPressAction: button.clicked()

                    contentItem: Text {
                        text: button.text
                        font: button.font
                        color: button.checked ? Theme.accent : Theme.faint
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                        Accessible.ignored: true
                    }
                    background: Rectangle {
                        radius: height / 2
                        color: button.checked ? Theme.tint : button.hovered ? Theme.hover : "transparent"

                        FocusRing { visible: button.visualFocus; around: parent.radius }
                    }
                }
            }
        }
        Rectangle {
            color: Theme.line
            implicitHeight: 1
            Layout.fillWidth: true
        }
        Loader {
            id: content

            readonly property var wanted: window.tabs[window.place]

            Layout.fillWidth: true
            Layout.fillHeight: true
            focus: true
            onWantedChanged: setSource(wanted.file, wanted.properties)
        }
        Connections {
            target: content.item
            ignoreUnknownSignals: true

            function onSettingsWanted(section) {
                window.tab = 5
                const settings = content.item as SettingsTab
                if (settings)
                    settings.show(section)
            }
        }
    }
}
