pragma ComponentBehavior: Bound

import QtQuick
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property AboutAdapter about

    heading: "About"

    FormGroup {
        FormRow {
            title: "Fenlo " + page.about.version
            hint: page.about.system
        }
        FormRow {
            title: "Log"
            hint: page.about.logFile

            PlainButton {
                text: "Open Log"
                onClicked: page.about.showLog()
            }
        }
    }
    FormGroup {
        title: "What works on this desktop"

        FormRow {
            title: page.about.summary !== "" ? page.about.summary : "Keys, microphone, services and files"
            hint: page.about.findings.length > 0 ? "The report holds no key and nothing that you dictated."
                                                 : "The check takes a few seconds and changes nothing."

            PlainButton {
                text: "Check Now"
                enabled: !page.about.checking
                onClicked: page.about.examine()
            }
            PlainButton {
                text: page.about.copied ? "Copied" : "Copy Report"
                visible: page.about.findings.length > 0
                onClicked: page.about.copyReport()
            }
        }
        Repeater {
            model: page.about.findings

            FormRow {
                id: finding

                required property var modelData

                title: modelData.subject
                hint: modelData.remedy === "" ? modelData.finding : modelData.finding + "\n→ " + modelData.remedy

                Badge {
                    text: finding.modelData.state
                    kind: finding.modelData.kind
                }
            }
        }
    }
    FormGroup {
        title: "Libraries"
        hint: "Fenlo is built with these, under their licences."

        FormRow {
            visible: page.about.notices !== ""
            title: "Texts of the licences"
            hint: page.about.notices

            PlainButton {
                text: "Open Licences"
                onClicked: page.about.showNotices()
            }
        }
        Repeater {
            model: page.about.libraries

            FormRow {
                id: library

                required property var modelData

                title: modelData.name
                hint: modelData.purpose

                Note { text: library.modelData.licence }
            }
        }
    }
}
