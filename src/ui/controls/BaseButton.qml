import QtQuick
import QtQuick.Controls.Basic

/// A button whose colours its kind chooses.
Button {
    id: control

    property color fill: "transparent"
    property color hoverFill: Theme.hover
    property color ink: Theme.text
    property color outline: "transparent"

    implicitHeight: Theme.controlHeight
    leftPadding: Theme.unit * 2
    rightPadding: Theme.unit * 2
    topPadding: 0
    bottomPadding: 0
    opacity: enabled ? 1 : 0.45
    font.family: Theme.family
    font.pixelSize: Theme.textSize
    Accessible.name: text
    // This Qt tells screen readers of no control that it is disabled, and hands their actions on all the same.
    Accessible.description: enabled ? "" : "Not available now"
    Accessible.onPressAction: if (control.enabled) control.clicked()
    Keys.onReturnPressed: control.clicked()
    Keys.onEnterPressed: control.clicked()

    contentItem: Text {
        text: control.text
        font: control.font
        color: control.ink
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        textFormat: Text.PlainText // a name that somebody typed may be its text
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Theme.radius
        color: control.down || control.hovered ? control.hoverFill : control.fill
        border.color: control.outline
        border.width: control.outline.a > 0 ? 1 : 0

        Behavior on color { ColorAnimation { duration: Theme.quick } }
        // Also where a dialog or the login gave it the keyboard, of which the toolkit shows nothing.
        FocusRing {
            visible: control.visualFocus
                     || (control.activeFocus && control.focusReason !== Qt.MouseFocusReason
                         && control.focusReason !== Qt.NoFocusReason)
        }
    }
}
