import QtQuick
import QtQuick.Controls.Basic

/// A menu of actions; its entries are ActionItems.
Menu {
    id: menu

    padding: Theme.half
    width: Math.max(Theme.textSize * 13, implicitContentWidth + 2 * padding)

    background: Rectangle {
        radius: Theme.radius
        color: Theme.card
        border.color: Theme.edge
    }
}
