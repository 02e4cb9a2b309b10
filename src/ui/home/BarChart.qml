pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import Fenlo.Controls

/// Bars side by side, with what one sees in them as a sentence. Each bar has `height` (0 to 1), `label`, `detail`, `isToday`.
Rectangle {
    id: chart

    property string title: ""
    property string sentence: ""
    property string highest: ""
    property var bars: []

    readonly property real gap: Math.max(2, Theme.half / 2)
    readonly property real step: plot.width / Math.max(1, bars.length)

    implicitHeight: column.implicitHeight + Theme.unit * 4
    implicitWidth: Theme.textSize * 24
    Layout.fillWidth: true
    radius: Theme.cardRadius
    color: Theme.card
    border.color: Theme.line
    Accessible.role: Accessible.Chart
    Accessible.name: title
    Accessible.description: sentence
    Accessible.focusable: true
    activeFocusOnTab: true

    FocusRing { visible: chart.activeFocus; around: Theme.cardRadius }
    ColumnLayout {
        id: column

        x: Theme.unit * 2
        y: Theme.unit * 2
        width: chart.width - 2 * x
        spacing: Theme.half

        Text {
            text: chart.title
            font.family: Theme.family
            font.pixelSize: Theme.textSize
            font.weight: Font.DemiBold
            color: Theme.text
            Layout.fillWidth: true
            Accessible.ignored: true
        }
        Note {
            text: chart.sentence
            Layout.fillWidth: true
            Accessible.ignored: true
        }
        Item {
            id: plot

            Layout.fillWidth: true
            Layout.topMargin: Theme.unit * 2
            implicitHeight: Theme.textSize * 9

            Rectangle { // as high as the highest
                width: parent.width
                height: 1
                color: Theme.line
            }
            Note {
                anchors { right: parent.right; bottom: parent.top; bottomMargin: 1 }
                text: chart.highest
                Accessible.ignored: true
            }
            Rectangle {
                anchors.bottom: parent.bottom
                width: parent.width
                height: 1
                color: Theme.line
            }
            Repeater {
                model: chart.bars

                Item {
                    id: bar

                    required property var modelData
                    required property int index

                    x: (chart.LayoutMirroring.enabled ? chart.bars.length - 1 - index : index) * chart.step
                    width: chart.step
                    height: plot.height

                    HoverHandler { id: hover }
                    Tip {
                        text: bar.modelData.detail
                        isWanted: hover.hovered
                        delay: 200
                    }

                    Rectangle {
                        x: chart.gap / 2
                        anchors.bottom: parent.bottom
                        width: Math.max(1, parent.width - chart.gap)
                        height: bar.modelData.height > 0 ? Math.max(3, bar.modelData.height * plot.height) : 0
                        radius: Math.min(4, width / 2)
                        color: bar.modelData.isToday || hover.hovered ? Theme.accent
                                                                      : Qt.alpha(Theme.accent, Theme.dark ? 0.6 : 0.5)
                    }
                }
            }
        }
        Item {
            id: axis

            Layout.fillWidth: true
            implicitHeight: Theme.noteSize * 1.5

            Repeater {
                model: chart.bars

                Note {
                    required property var modelData
                    required property int index

                    readonly property real middle: (chart.LayoutMirroring.enabled ? chart.bars.length - 1 - index : index)
                                                   * chart.step + chart.step / 2

                    x: Math.max(0, Math.min(axis.width - implicitWidth, middle - implicitWidth / 2))
                    text: modelData.label
                    wrapMode: Text.NoWrap
                    font.weight: modelData.isToday ? Font.DemiBold : Font.Normal
                    Accessible.ignored: true
                }
            }
        }
    }
}
