#include "shell/onboarding/ProfessionForm.h"

#include "text/professions/Professions.h"

#include <algorithm>
#include <span>

namespace fenlo {

namespace {

using Keys = std::span<const std::string_view>;
using Topic = ProfessionForm::Topic;

std::string textOf(Topic topic, std::string_view profession) {
    switch (topic) {
    case Topic::role:
        return "What's your role?";
    case Topic::practiceAreas:
        return "What areas do you practice?";
    case Topic::dictationTypes:
        return "What do you mainly dictate?";
    case Topic::specialties:
        break;
    }
    if (profession == "doctor")
        return "What's your specialty?";
    if (profession == "developer")
        return "What languages do you use?";
    if (profession == "pm")
        return "What tools do you use most?";
    return profession == "designer" ? "What kind of design?" : "What's your focus area?";
}

Keys keysOf(Topic topic, std::string_view profession) {
    switch (topic) {
    case Topic::role:
        return roleChoices(profession);
    case Topic::practiceAreas:
        return practiceAreaChoices(profession);
    case Topic::specialties:
        return specialtyChoices(profession);
    case Topic::dictationTypes:
        break;
    }
    return dictationTypeChoices(profession);
}

std::string displayed(Topic topic, std::string_view key) {
    if (topic == Topic::role)
        return roleDisplay(key);
    if (topic == Topic::dictationTypes)
        return dictationTypeDisplay(key);
    return specialtyDisplay(key);
}

/// As the beginning of a line: some display forms are words of a sentence.
std::string capitalised(std::string label) {
    if (!label.empty() && label[0] >= 'a' && label[0] <= 'z')
        label[0] = static_cast<char>(label[0] - 'a' + 'A');
    return label;
}

/// The list of the settings that answers a question; the role is a single word.
auto& listOf(Topic topic, auto& settings) {
    if (topic == Topic::practiceAreas)
        return settings.lawyerPracticeAreas;
    return topic == Topic::specialties ? settings.professionSpecialties : settings.dictationTypes;
}

bool isChosenIn(const Settings& settings, Topic topic, std::string_view key) {
    if (topic == Topic::role)
        return settings.professionRole == key;
    const auto& list = listOf(topic, settings);
    return std::ranges::find(list, key) != list.end();
}

} // namespace

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
    if (!isChosen())
        return questions;
    for (const Topic topic : {Topic::role, Topic::practiceAreas, Topic::specialties, Topic::dictationTypes}) {
        Question question{topic, textOf(topic, m_draft.profession), topic != Topic::role, {}};
        for (const std::string_view key : keysOf(topic, m_draft.profession))
            question.options.push_back(
                {std::string(key), capitalised(displayed(topic, key)), isChosenIn(m_draft, topic, key)});
        if (!question.options.empty())
            questions.push_back(std::move(question));
    }
    return questions;
}

void ProfessionForm::toggle(Topic topic, const std::string& key) {
    if (topic == Topic::role) {
        m_draft.professionRole = m_draft.professionRole == key ? "" : key;
    } else if (auto& chosen = listOf(topic, m_draft); std::erase(chosen, key) == 0) {
        chosen.push_back(key);
    }
    m_changes.tell();
}

void ProfessionForm::setMode(DictationMode mode) {
    m_draft.dictationMode = mode;
    m_changes.tell();
}

void ProfessionForm::store() {
    if (isChosen() && m_draft.profession != m_config.get().profession)
        selectProfession(m_config, m_draft.profession);
    m_config.update([this](Settings& settings) {
        settings.dictationMode = m_draft.dictationMode;
        settings.professionRole = m_draft.professionRole;
        settings.lawyerPracticeAreas = m_draft.lawyerPracticeAreas;
        settings.professionSpecialties = m_draft.professionSpecialties;
        settings.dictationTypes = m_draft.dictationTypes;
    });
}

} // namespace fenlo
