import QtQuick
import QtQuick.Layouts
import Fenlo.Controls
import Fenlo.Home

Page {
    id: page

    required property SettingsAdapter settings

    heading: "Words"
    introduction: "Names and terms that Fenlo should spell as you do, with commas between them."

    FormGroup {
        title: "Your words"

        FormRow {
            stacked: true

            WordsBox {
                name: "Your words"
                placeholder: "Anna Lindqvist, PostgreSQL, Rosuvas"
                stored: page.settings.customVocabularyText
                onEdited: (text, given) => page.settings.editCustomVocabulary(text, given)
                Layout.fillWidth: true
            }
        }
        FormRow {
            title: "Glossary"
            hint: "A file with one term a line, with commas, or JSON"

            PlainButton {
                text: "Import Glossary…"
                onClicked: page.settings.importGlossary()
            }
        }
        FormRow {
            visible: page.settings.glossaryText !== ""
            stacked: true

            Notice {
                kind: page.settings.glossaryFailed ? "warning" : "good"
                text: (page.settings.glossaryTitle + "\n" + page.settings.glossaryText).trim()
                action: "OK"
                onActed: page.settings.dismissGlossary()
            }
        }
    }
    FormGroup {
        title: "Learned words"
        hint: "Your profession's terms, and what Fenlo learned from corrections. Remove what is wrong."

        FormRow {
            stacked: true

            WordsBox {
                name: "Learned words"
                placeholder: "Nothing learned yet"
                stored: page.settings.professionVocabularyText
                onEdited: (text, given) => page.settings.editProfessionVocabulary(text, given)
                Layout.fillWidth: true
            }
        }
    }
}
