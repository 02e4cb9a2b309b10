import QtQuick
import Fenlo.Controls
import Fenlo.Parts

Page {
    id: page

    required property OfflineMode offline
    required property ModelList models

    heading: "Offline"
    introduction: "With a model on this machine, your voice never leaves it. "
        + "While Smart Rewrite is on, the words still go to a language model to be polished."

    OfflineRows { offline: page.offline }
    ModelRows { models: page.models }
}
