import QtQuick
import QtQuick.Layouts

/// Rows that belong together: a title, and a card with the rows, which a line separates.
ColumnLayout {
    id: group

    property string title: ""
    property string hint: ""
    default property alias rows: column.data

    spacing: Theme.unit
    Layout.fillWidth: true
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Text {
        text: group.title
        visible: text !== ""
        font.family: Theme.family
        font.pixelSize: Theme.headingSize
        font.weight: Font.DemiBold
        color: Theme.text
        Layout.fillWidth: true
        Layout.leftMargin: Theme.half
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Note {
        text: group.hint
        visible: text !== ""
        Layout.fillWidth: true
        Layout.leftMargin: Theme.half
    }
    Rectangle {
        color: Theme.card
        radius: Theme.cardRadius
        border.color: Theme.line
        Layout.fillWidth: true
        implicitHeight: column.implicitHeight + 2

        ColumnLayout {
            id: column

            x: 1
            y: 1
            width: parent.width - 2
            spacing: 0
        }
    }
}
