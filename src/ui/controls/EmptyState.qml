import QtQuick
import QtQuick.Layouts

/// What a page shows when it has nothing to show: one line, one explanation, at most one action.
ColumnLayout {
    id: empty

    property string title: ""
    property string text: ""
    property string action: ""
    signal acted

    spacing: Theme.unit
    width: parent ? Math.min(parent.width - 4 * Theme.unit, Theme.textSize * 32) : 0

    Text {
        text: empty.title
        font.family: Theme.family
        font.pixelSize: Theme.headingSize
        font.weight: Font.DemiBold
        color: Theme.text
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        textFormat: Text.PlainText
        Layout.fillWidth: true
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    Label {
        text: empty.text
        visible: text !== ""
        color: Theme.faint
        horizontalAlignment: Text.AlignHCenter
        Layout.fillWidth: true
    }
    PlainButton {
        text: empty.action
        visible: text !== ""
        Layout.alignment: Qt.AlignHCenter
        Layout.topMargin: Theme.unit
        onClicked: empty.acted()
    }
}
