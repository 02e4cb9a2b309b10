import QtQuick

/// Destroys something; only behind a question, or where the act can be undone.
BaseButton {
    fill: Theme.danger
    hoverFill: Qt.darker(Theme.danger, 1.12)
    ink: Theme.dangerInk
    font.weight: Font.DemiBold
}
