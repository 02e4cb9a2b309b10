import QtQuick
import Fenlo.Controls
import Fenlo.Parts

Page {
    id: page

    required property ServiceKeyList keys

    heading: "Services"
    introduction: "Fenlo works with your own account at a service. Its key stays in the desktop's keyring."

    ServiceKeyCards { keys: page.keys }
}
