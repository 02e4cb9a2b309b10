import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home

/// How much was dictated, and when.
FocusScope {
    id: tab

    required property DashboardAdapter dashboard

    Component.onCompleted: dashboard.open()
    Component.onDestruction: dashboard.close()

    Page {
        anchors.fill: parent
        focus: true
        visible: !tab.dashboard.empty && !tab.dashboard.loading
        heading: "Your dictation"

        StatCards { title: "Today"; cards: tab.dashboard.today }
        StatCards { title: "All time"; cards: tab.dashboard.allTime }
        BarChart {
            title: "Words a day"
            sentence: tab.dashboard.daysSentence
            highest: tab.dashboard.daysHighest
            bars: tab.dashboard.days
        }
        BarChart {
            title: "Hours of the day"
            sentence: tab.dashboard.hoursSentence
            highest: tab.dashboard.hoursHighest
            bars: tab.dashboard.hours
        }
        Note {
            text: "“Saved” compares with typing at 40 words a minute. Deleting entries of the history leaves these numbers as they are."
            Layout.fillWidth: true
        }
    }
    EmptyState {
        anchors.centerIn: parent
        visible: tab.dashboard.empty
        title: "Nothing dictated yet"
        text: "Hold your key anywhere, speak, and let go. What you dictate is counted here."
    }
}
