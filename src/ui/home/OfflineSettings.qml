import QtQuick
import Fenlo.Controls
import Fenlo.Parts

Page {
    id: page

    required property OfflineMode offline
    required property ModelList models

    heading: "Offline"
    introduction: "With a model on this machine, what you say never leaves it."

    OfflineRows { offline: page.offline }
    ModelRows { models: page.models }
}
