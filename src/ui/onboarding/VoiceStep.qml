import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Onboarding

/// The reading of the passage, whose own buttons lead on.
StepPage {
    id: step

    nextCaption: ""
    first: reading

    VoiceProfileStep {
        id: reading

        reading: step.start.reading
        skipCaption: step.start.voiceProfileOnly ? "Cancel" : "Skip for now"
        focus: true
        Layout.fillWidth: true
        Layout.preferredHeight: Math.max(Theme.textSize * 27, step.availableHeight - 2 * step.margin)
    }
}
