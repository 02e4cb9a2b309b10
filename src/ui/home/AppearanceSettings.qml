import QtQuick
import Fenlo.Controls

Page {
    id: page

    required property Appearance appearance

    heading: "Appearance"

    FormGroup {
        FormRow {
            title: "Colours"
            hint: "Of the windows; the pill is always dark"

            Choice {
                name: "Colours"
                value: page.appearance.scheme
                options: [
                    { value: "system", label: "As the desktop" },
                    { value: "light", label: "Light" },
                    { value: "dark", label: "Dark" },
                ]
                onChosen: value => page.appearance.scheme = value
            }
        }
    }
}
