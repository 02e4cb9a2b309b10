import QtQuick

/// An action in the run of a text, such as "Show more...".
BaseButton {
    ink: Theme.accent
    hoverFill: Theme.tint
    leftPadding: Theme.half
    rightPadding: Theme.half
    implicitHeight: Math.round(Theme.textSize * 1.8)
}
