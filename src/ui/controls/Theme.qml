pragma Singleton

import QtQuick

/// Colours, spacing and type of every screen; a relative of the pill. The window that opens sets the first three.
QtObject {
    id: theme

    property bool dark: false
    property bool still: false // nothing moves
    property real textSize: 13 // pixels, of the desktop's own font
    property string family: ""

    readonly property color page: dark ? "#141417" : "#FAFAF8"
    readonly property color card: dark ? "#1E1E23" : "#FFFFFF"
    readonly property color field: dark ? "#26262C" : "#FFFFFF"
    readonly property color text: dark ? "#F2F2F0" : "#1B1B20"
    readonly property color faint: dark ? "#B4B4B6" : "#5C5C63"
    readonly property color line: dark ? "#2F2F34" : "#E7E7E6"
    readonly property color edge: dark ? "#75757D" : "#84848B" // of controls
    readonly property color hover: dark ? "#2A2A30" : "#F1F1EF"
    readonly property color accent: dark ? "#A685FF" : "#6A3FE0"
    readonly property color accentInk: dark ? "#17121F" : "#FFFFFF"
    readonly property color tint: dark ? "#2B2440" : "#EFEAFC" // behind what is chosen
    readonly property color danger: dark ? "#FF7A7A" : "#C42B2B"
    readonly property color dangerInk: dark ? "#1B1012" : "#FFFFFF"
    readonly property color works: dark ? "#FFB847" : "#946000"
    readonly property color good: dark ? "#66CF88" : "#1E7A3E"

    readonly property real unit: Math.round(Math.max(8, textSize * 0.6))
    readonly property real half: unit / 2
    readonly property real cardRadius: 12
    readonly property real radius: 8
    readonly property real controlHeight: Math.round(textSize * 2.5)

    readonly property real noteSize: Math.max(12, Math.round(textSize * 0.92))
    readonly property real headingSize: Math.round(textSize * 1.2)
    readonly property real titleSize: Math.round(textSize * 1.7)
    readonly property real figureSize: Math.round(textSize * 2.6)

    readonly property int quick: still ? 0 : 100 // milliseconds
    readonly property int gentle: still ? 0 : 200
}
