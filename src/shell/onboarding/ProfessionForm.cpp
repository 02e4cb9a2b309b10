#include "shell/onboarding/ProfessionForm.h"

#include <algorithm>

namespace fenlo {

ProfessionForm::ProfessionForm(Config& config) : m_config(config), m_draft(config.get()) {}

std::vector<ProfessionForm::Option> ProfessionForm::professions() const {
    std::vector<Option> options;
    for (const ProfessionChoice& choice : professionChoices())
        options.push_back({std::string(choice.key), std::string(choice.label), m_draft.profession == choice.key});
    return options;
}

void ProfessionForm::choose(const std::string& key) {
    if (m_draft.profession == key)
        return;
    m_draft.profession = key;
    // What was chosen for another profession means nothing here.
    m_draft.professionRole.clear();
    m_draft.lawyerPracticeAreas.clear();
    m_draft.professionSpecialties.clear();
    m_draft.dictationTypes.clear();
    m_changes.tell();
}

void ProfessionForm::skip() {
    const DictationMode mode = m_draft.dictationMode;
    m_draft = m_config.get();
    setMode(mode);
}

std::vector<ProfessionForm::Question> ProfessionForm::questions() const {
    std::vector<Question> questions;
    for (const ProfessionQuestion& asked : professionQuestions(m_draft.profession)) {
        const std::vector<std::string> chosen = answers(m_draft, asked.topic);
        Question question{asked.topic, std::string(asked.text), asked.takesSeveral, {}};
        for (const ProfessionOption& option : asked.options)
            question.options.push_back(
                {option.key, option.label, std::ranges::find(chosen, option.key) != chosen.end()});
        questions.push_back(std::move(question));
    }
    return questions;
}

void ProfessionForm::toggle(Topic topic, const std::string& key) {
    const std::vector<std::string> chosen = answers(m_draft, topic);
    answer(m_draft, topic, key, std::ranges::find(chosen, key) == chosen.end());
    m_changes.tell();
}

void ProfessionForm::setMode(DictationMode mode) {
    m_draft.dictationMode = mode;
    m_changes.tell();
}

void ProfessionForm::store() {
    if (isChosen())
        changeProfession(m_config, m_draft.profession);
    m_config.update([this](Settings& settings) {
        settings.dictationMode = m_draft.dictationMode;
        settings.professionRole = m_draft.professionRole;
        settings.lawyerPracticeAreas = m_draft.lawyerPracticeAreas;
        settings.professionSpecialties = m_draft.professionSpecialties;
        settings.dictationTypes = m_draft.dictationTypes;
    });
}

} // namespace fenlo
