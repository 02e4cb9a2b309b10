import QtQuick
import Fenlo.Meeting

/// Meetings: set up, running, ended, and those of the archive. One face at a time.
FocusScope {
    id: tab

    required property MeetingAdapter meeting
    /// The user wants to see this section of the settings.
    signal settingsWanted(string section)

    readonly property var files: ({
        [MeetingAdapter.SetUp]: "SetUpFace.qml",
        [MeetingAdapter.History]: "HistoryFace.qml",
        [MeetingAdapter.Active]: "ActiveFace.qml",
        [MeetingAdapter.Ended]: meeting.isTranscriptionSession ? "TranscriptionEndedFace.qml" : "EndedFace.qml",
        [MeetingAdapter.PastMeeting]: "PastMeetingFace.qml",
    })

    Component.onCompleted: meeting.open()

    Loader {
        id: face

        readonly property string wanted: tab.files[tab.meeting.face]

        anchors.fill: parent
        focus: true
        onWantedChanged: setSource(wanted, { meeting: tab.meeting })
        onLoaded: (item as Item).forceActiveFocus(Qt.OtherFocusReason)
    }
    Connections {
        target: face.item
        ignoreUnknownSignals: true

        function onSettingsWanted(section) { tab.settingsWanted(section) }
    }
}
