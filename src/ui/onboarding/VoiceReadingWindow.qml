import QtQuick
import QtQuick.Controls.Basic
import Fenlo.Controls
import Fenlo.Onboarding

ApplicationWindow {
    id: window

    required property Appearance appearance
    required property VoiceReadingAdapter reading

    title: "Voice Profile"
    width: Math.round(Theme.textSize * 50)
    height: Math.round(Theme.textSize * 42)
    minimumWidth: Math.round(Theme.textSize * 32)
    minimumHeight: Math.round(Theme.textSize * 34)
    color: Theme.page
    visible: false

    LayoutMirroring.enabled: appearance.rightToLeft
    LayoutMirroring.childrenInherit: true

    Binding { target: Theme; property: "dark"; value: window.appearance.dark }
    Binding { target: Theme; property: "still"; value: window.appearance.still }
    Binding { target: Theme; property: "textSize"; value: window.appearance.textSize }
    Binding { target: Theme; property: "family"; value: window.appearance.family }

    Shortcut { sequences: ["Ctrl+W"]; onActivated: window.close() }
    Shortcut { sequences: ["Escape"]; onActivated: window.close() }

    VoiceProfileStep {
        anchors.fill: parent
        anchors.margins: Theme.unit * 3
        focus: true
        reading: window.reading
        skipCaption: "Cancel"
    }
}
