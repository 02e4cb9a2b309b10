import QtQuick

/// The one action that a page is for.
BaseButton {
    fill: Theme.accent
    hoverFill: Qt.darker(Theme.accent, 1.12)
    ink: Theme.accentInk
    font.weight: Font.DemiBold
}
