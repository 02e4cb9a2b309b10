pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home
import Fenlo.Parts

/// The sections of the settings: a list of them, and the chosen one.
FocusScope {
    id: tab

    required property Appearance appearance
    required property SettingsAdapter settings
    required property SnippetList snippets
    required property VoiceProfileAdapter voice
    required property AboutAdapter about
    required property AccountAdapter account
    required property ServiceKeyList serviceKeys
    required property OfflineMode offline
    required property ModelList offlineModels
    required property MicrophoneChoice microphone

    readonly property var sections: [
        { title: "General", file: "GeneralSettings.qml", properties: { settings: tab.settings } },
        { title: "Dictation", file: "DictationSettings.qml", properties: { settings: tab.settings } },
        { title: "Language and text", file: "LanguageSettings.qml", properties: { settings: tab.settings } },
        { title: "Profession", file: "ProfessionSettings.qml", properties: { settings: tab.settings } },
        { title: "Words", file: "WordsSettings.qml", properties: { settings: tab.settings } },
        { title: "Snippets", file: "SnippetSettings.qml", properties: { snippets: tab.snippets } },
        { title: "Microphone", file: "MicrophoneSettings.qml", properties: { microphone: tab.microphone } },
        { title: "Services", file: "ServiceSettings.qml", properties: { keys: tab.serviceKeys } },
        { title: "Offline", file: "OfflineSettings.qml", properties: { offline: tab.offline, models: tab.offlineModels } },
        { title: "Sounds", file: "SoundSettings.qml", properties: { settings: tab.settings } },
        { title: "Appearance", file: "AppearanceSettings.qml", properties: { appearance: tab.appearance } },
        { title: "Voice", file: "VoiceSettings.qml", properties: { voice: tab.voice } },
        // Where the service of this deployment knows accounts.
        ...(tab.account.isOffered ? [{ title: "Account", file: "AccountSettings.qml", properties: { account: tab.account } }] : []),
        { title: "About", file: "AboutSettings.qml", properties: { about: tab.about } },
    ]

    function show(title) {
        list.currentIndex = Math.max(0, sections.findIndex(section => section.title === title))
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        ListView {
            id: list

            model: tab.sections
            focus: true
            activeFocusOnTab: true
            clip: true
            Layout.preferredWidth: Theme.textSize * 15
            Layout.fillHeight: true
            Layout.margins: Theme.unit * 1.5
            spacing: 2
            keyNavigationEnabled: true
            // By itself it knows the arrows only.
            Keys.onPressed: event => {
                event.accepted = event.key === Qt.Key_Home || event.key === Qt.Key_End
                if (event.accepted)
                    list.currentIndex = event.key === Qt.Key_Home ? 0 : list.count - 1
            }
            ScrollBar.vertical: ScrollBar {}
            Accessible.role: Accessible.List
            Accessible.name: "Sections"

            delegate: ItemDelegate {
                id: entry

                required property var modelData
                required property int index

                width: ListView.view.width
                height: Theme.controlHeight
                highlighted: ListView.isCurrentItem
                onClicked: { list.currentIndex = index; list.forceActiveFocus(Qt.MouseFocusReason) }
                Accessible.role: Accessible.ListItem
                Accessible.name: modelData.title
                Accessible.focusable: true
                Accessible.selected: ListView.isCurrentItem
                Accessible.focused: ListView.isCurrentItem && list.activeFocus
                Accessible.onPressAction: entry.clicked()

                contentItem: Text {
                    text: entry.modelData.title
                    font.family: Theme.family
                    font.pixelSize: Theme.textSize
                    font.weight: entry.highlighted ? Font.DemiBold : Font.Normal
                    color: entry.highlighted ? Theme.accent : Theme.text
                    verticalAlignment: Text.AlignVCenter
                    elide: Text.ElideRight
                    leftPadding: Theme.half
                    Accessible.ignored: true
                }
                background: Rectangle {
                    radius: Theme.radius
                    color: entry.highlighted ? Theme.tint : entry.hovered ? Theme.hover : "transparent"

                    FocusRing { visible: entry.highlighted && list.activeFocus; anchors.margins: 0; around: Theme.half }
                }
            }
        }
        Rectangle {
            color: Theme.line
            implicitWidth: 1
            Layout.fillHeight: true
        }
        ColumnLayout {
            spacing: 0

            Notice {
                kind: "error"
                text: tab.settings.storageLine
                action: tab.settings.canSaveAgain ? "Try Again" : ""
                onActed: tab.settings.saveAgain()
                Layout.margins: visible ? Theme.unit * 2 : 0
            }
            Loader {
                readonly property var wanted: tab.sections[Math.max(0, list.currentIndex)]

                Layout.fillWidth: true
                Layout.fillHeight: true
                onWantedChanged: setSource(wanted.file, wanted.properties)
            }
        }
    }
}
