import QtQuick
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property SettingsAdapter settings

    heading: "General"

    FormGroup {
        FormRow {
            title: "Open at login"
            hint: page.settings.hint("openAtLogin")

            Toggle {
                value: page.settings.opensAtLogin
                onChosen: on => page.settings.opensAtLogin = on
                Accessible.name: "Open at login"
                Accessible.description: page.settings.hint("openAtLogin")
            }
        }
        FormRow {
            visible: page.settings.loginFault !== ""
            stacked: true

            Notice {
                kind: "error"
                text: page.settings.loginFault
            }
        }
    }
    FormGroup {
        title: "While you speak"

        FormRow {
            title: "Status pill"
            hint: page.settings.hint("showOverlay")

            Toggle {
                value: page.settings.showOverlay
                onChosen: on => page.settings.showOverlay = on
                Accessible.name: "Status pill"
                Accessible.description: page.settings.hint("showOverlay")
            }
        }
        FormRow {
            title: "App in the pill"
            hint: page.settings.hint("showAppInPill")
            enabled: page.settings.showOverlay

            Toggle {
                value: page.settings.showAppInPill
                onChosen: on => page.settings.showAppInPill = on
                Accessible.name: "App in the pill"
                Accessible.description: page.settings.hint("showAppInPill")
            }
        }
        FormRow {
            title: "Words in the pill"
            hint: page.settings.hint("showWordsInPill")
            enabled: page.settings.showOverlay

            Toggle {
                value: page.settings.showWordsInPill
                onChosen: on => page.settings.showWordsInPill = on
                Accessible.name: "Words in the pill"
                Accessible.description: page.settings.hint("showWordsInPill")
            }
        }
        FormRow {
            title: "Silence nudge"
            hint: page.settings.hint("silenceNotification")

            Toggle {
                value: page.settings.silenceNotification
                onChosen: on => page.settings.silenceNotification = on
                Accessible.name: "Silence nudge"
                Accessible.description: page.settings.hint("silenceNotification")
            }
        }
        FormRow {
            title: "Send long takes in parts"
            hint: page.settings.hint("uploadWhileSpeaking")

            Toggle {
                value: page.settings.uploadWhileSpeaking
                onChosen: on => page.settings.uploadWhileSpeaking = on
                Accessible.name: "Send long takes in parts"
                Accessible.description: page.settings.hint("uploadWhileSpeaking")
            }
        }
    }
    FormGroup {
        title: "Afterwards"

        FormRow {
            title: "Keep failed takes"
            hint: page.settings.hint("keepFailedTakes")

            Toggle {
                value: page.settings.keepFailedTakes
                onChosen: on => page.settings.keepFailedTakes = on
                Accessible.name: "Keep failed takes"
                Accessible.description: page.settings.hint("keepFailedTakes")
            }
        }
        FormRow {
            title: "Type short texts instead of pasting"
            hint: page.settings.hint("typeShortTexts")

            Toggle {
                value: page.settings.typeShortTexts
                onChosen: on => page.settings.typeShortTexts = on
                Accessible.name: "Type short texts instead of pasting"
                Accessible.description: page.settings.hint("typeShortTexts")
            }
        }
        FormRow {
            title: "Type every text instead of pasting"
            hint: page.settings.hint("typeAllTexts")

            Toggle {
                value: page.settings.typeAllTexts
                onChosen: on => page.settings.typeAllTexts = on
                Accessible.name: "Type every text instead of pasting"
                Accessible.description: page.settings.hint("typeAllTexts")
            }
        }
    }
    FormGroup {
        title: "Updates"
        visible: page.settings.offersUpdates

        FormRow {
            title: "Look for updates once a day"
            hint: page.settings.hint("checkForUpdates")

            Toggle {
                value: page.settings.checkForUpdates
                onChosen: on => page.settings.checkForUpdates = on
                Accessible.name: "Look for updates once a day"
                Accessible.description: page.settings.hint("checkForUpdates")
            }
        }
    }
}
