import QtQuick
import QtQuick.Layouts

/// A setting: its name and hint on one side, its control on the other; below each other where the window is narrow.
Item {
    id: row

    property string title: ""
    property string hint: ""
    property bool stacked: false // the control below, as wide as the row
    default property alias control: place.data

    readonly property bool isBelow: stacked || width < Theme.textSize * 30
    readonly property real padding: Theme.unit * 2

    Layout.fillWidth: true
    implicitHeight: grid.implicitHeight + padding * 1.5
    implicitWidth: Theme.textSize * 24

    Rectangle {
        visible: row.y > 0
        width: parent.width
        height: 1
        color: Theme.line
    }
    GridLayout {
        id: grid

        x: row.padding
        width: row.width - 2 * row.padding
        anchors.verticalCenter: parent.verticalCenter
        columns: row.isBelow ? 1 : 2
        columnSpacing: Theme.unit * 3
        rowSpacing: Theme.unit

        ColumnLayout {
            visible: row.title !== "" || row.hint !== ""
            opacity: row.enabled ? 1 : 0.55
            spacing: 2
            Layout.fillWidth: true

            Label {
                text: row.title
                visible: text !== ""
                Layout.fillWidth: true
            }
            Note {
                text: row.hint
                visible: text !== ""
                Layout.fillWidth: true
            }
        }
        RowLayout {
            id: place

            spacing: Theme.unit
            Layout.fillWidth: row.isBelow
            Layout.alignment: row.isBelow ? Qt.AlignLeft : Qt.AlignRight
        }
    }
}
