import QtQuick

BaseButton {
    fill: Theme.field
    outline: Theme.edge
}
