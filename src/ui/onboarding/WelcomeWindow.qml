pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

Window {
    id: window

    required property Appearance appearance
    required property string hotkey
    required property real corner
    required property real margin // for the shadow
    property bool isLeaving: false

    title: "Fenlo is ready"
    flags: Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    width: 380 + 2 * margin
    height: 320 + 2 * margin
    x: Screen.virtualX + Math.round((Screen.width - width) / 2)
    y: Screen.virtualY + Math.round((Screen.height - height) / 2) - 100
    color: "transparent"
    visible: false
    onIsLeavingChanged: if (Theme.still) close(); else fade.start()

    Binding { target: Theme; property: "dark"; value: window.appearance.dark }
    Binding { target: Theme; property: "still"; value: window.appearance.still }
    Binding { target: Theme; property: "textSize"; value: window.appearance.textSize }
    Binding { target: Theme; property: "family"; value: window.appearance.family }

    NumberAnimation {
        id: fade

        target: window
        property: "opacity"
        to: 0
        duration: 300
        onFinished: window.close()
    }
    Shortcut { sequences: ["Escape", "Ctrl+W"]; onActivated: window.isLeaving = true }

    Repeater { // the shadow
        model: window.margin > 0 ? 12 : 0

        Rectangle {
            required property int index

            anchors { fill: parent; margins: 2 * index; topMargin: 2 * index + 6 }
            radius: window.corner + window.margin - 2 * index
            color: Qt.rgba(0, 0, 0, 0.018)
        }
    }
    Rectangle {
        anchors { fill: parent; margins: window.margin }
        radius: window.corner
        color: Theme.page
        border.color: Theme.line

        DragHandler {
            target: null
            onActiveChanged: if (active) window.startSystemMove()
        }
        ColumnLayout {
            anchors { fill: parent; margins: Theme.unit * 3 }
            spacing: Theme.unit * 2

            Item { Layout.fillHeight: true }
            Heading {
                text: "Welcome to Fenlo"
                horizontalAlignment: Text.AlignHCenter
                Layout.fillWidth: true
            }
            KeyCap {
                text: window.hotkey
                Layout.alignment: Qt.AlignHCenter
            }
            Label {
                text: "Hold it, speak, and let go. The words stand at your cursor."
                color: Theme.faint
                horizontalAlignment: Text.AlignHCenter
                Layout.fillWidth: true
            }
            Item { Layout.fillHeight: true }
            PrimaryButton {
                text: "Got It"
                focus: true
                Layout.alignment: Qt.AlignHCenter
                Layout.preferredWidth: Theme.textSize * 12
                onClicked: window.isLeaving = true
            }
        }
    }
}
