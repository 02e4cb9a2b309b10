pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls.Basic

/// One of some labelled values. `options` are objects with `value` and `label`.
ComboBox {
    id: control

    property var options: []
    property string value: "" // what the model says
    property string name: ""  // for screen readers
    /// The user has chosen another value.
    signal chosen(string value)

    model: options
    textRole: "label"
    valueRole: "value"
    currentIndex: place(options, value)
    implicitHeight: Theme.controlHeight
    implicitWidth: Math.max(Theme.unit * 22, implicitContentWidth + Theme.unit * 6)
    implicitContentWidthPolicy: ComboBox.WidestText
    opacity: enabled ? 1 : 0.45
    font.family: Theme.family
    font.pixelSize: Theme.textSize
    leftPadding: Theme.unit * 1.5
    Accessible.name: name
    Accessible.description: enabled ? displayText : displayText + ", not available now"
    Accessible.onPressAction: if (control.enabled) control.popup.open()
    Keys.onReturnPressed: control.popup.open()
    onActivated: index => {
        control.chosen(String(control.valueAt(index)))
        control.currentIndex = Qt.binding(() => control.place(control.options, control.value))
    }

    // Qt 6.4 crashes when a box is destroyed that still holds the entries of its list.
    readonly property bool isSeen: Window.visibility !== Window.Hidden
    onIsSeenChanged: if (!isSeen) popup.close()
    Component.onDestruction: popup.close()

    function place(from, wanted) {
        return from.findIndex(option => option.value === wanted)
    }

    contentItem: Text {
        text: control.displayText
        font: control.font
        color: Theme.text
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    indicator: Text {
        x: control.mirrored ? Theme.unit * 1.5 : control.width - width - Theme.unit * 1.5
        y: (control.height - height) / 2
        text: "▾"
        color: Theme.faint
        font.pixelSize: Theme.textSize
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Theme.radius
        color: control.hovered ? Theme.hover : Theme.field
        border.color: Theme.edge
        border.width: 1

        FocusRing { visible: control.visualFocus }
    }
    delegate: ItemDelegate {
        id: entry

        required property var modelData
        required property int index

        width: ListView.view.width
        height: Theme.controlHeight
        highlighted: control.highlightedIndex === index
        Accessible.name: entry.modelData.label
        Accessible.onPressAction: {
            control.activated(entry.index)
            control.popup.close()
        }
        contentItem: Text {
            text: entry.modelData.label
            font.family: Theme.family
            font.pixelSize: Theme.textSize
            font.weight: control.currentIndex === entry.index ? Font.DemiBold : Font.Normal
            color: Theme.text
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: Theme.half
            color: entry.highlighted ? Theme.tint : "transparent"
        }
    }
    popup: Popup {
        y: control.height + 2
        width: control.width
        height: Math.min(contentItem.implicitHeight + 2 * padding, Theme.controlHeight * 9)
        padding: Theme.half
        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: control.popup.visible ? control.delegateModel : null // as below
            currentIndex: control.highlightedIndex
            ScrollBar.vertical: ScrollBar {}
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.card
            border.color: Theme.edge
        }
    }
}
