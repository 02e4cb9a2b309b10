import QtQuick
import QtQuick.Controls.Basic

/// How far a work has come, 0 to 1.
ProgressBar {
    id: control

    property string name: "" // for screen readers

    implicitHeight: 6
    implicitWidth: Theme.unit * 24
    Accessible.name: name

    background: Rectangle {
        radius: 3
        color: Theme.line
    }
    contentItem: Item {
        Rectangle {
            width: control.visualPosition * parent.width
            height: parent.height
            radius: 3
            color: Theme.accent

            Behavior on width { NumberAnimation { duration: Theme.gentle } }
        }
    }
}
