pragma ComponentBehavior: Bound

import QtQuick
import Fenlo.Controls
import Fenlo.Onboarding

StepPage {
    id: step

    heading: "What Fenlo needs"
    introduction: "Fenlo looks again every second, so you can mend things meanwhile, or later."

    FormGroup {
        Repeater {
            model: step.start.checks.rows.length

            FormRow {
                id: row

                required property int index
                readonly property var check: step.start.checks.rows[index]

                title: check.title
                hint: check.command === "" ? check.detail : check.detail + "\n" + check.command
                Accessible.role: Accessible.Grouping
                Accessible.name: check.title
                Accessible.description: check.stateLabel + ". " + hint

                PlainButton {
                    text: row.check.action
                    visible: text !== ""
                    Accessible.name: text + ": " + row.check.title
                    onClicked: step.start.checks.act(row.index)
                }
                Badge {
                    text: row.check.stateLabel
                    kind: row.check.kind
                }
            }
        }
    }
}
