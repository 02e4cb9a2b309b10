#include "text/professions/Questions.h"

#include "base/Text.h"
#include "settings/Config.h"

#include <algorithm>
#include <set>

namespace fenlo {

namespace {

using Keys = std::span<const std::string_view>;
using Display = std::string(std::string_view key);

constexpr char whatIsDictated[] = "What do you mainly dictate?";

struct Wording {
    std::string_view profession;
    std::string_view question;
};

constexpr Wording specialtyQuestions[] = {
    {"doctor", "What's your specialty?"},   {"developer", "What languages do you use?"},
    {"pm", "What tools do you use most?"},  {"datascience", "What's your focus area?"},
    {"designer", "What kind of design?"},   {"writer", "What's your focus area?"},
    {"student", "What's your focus area?"},
};

std::string_view specialtyQuestion(std::string_view profession) {
    const auto found = std::ranges::find(specialtyQuestions, profession, &Wording::profession);
    return found == std::end(specialtyQuestions) ? "" : found->question;
}

/// A display form as it stands in a list.
std::string capitalised(std::string_view form) {
    const std::string first = text::firstCharacters(form, 1);
    return text::upper(first) + std::string(form.substr(first.size()));
}

/// In sentences for the language model the key "family" is the doctors'.
std::string practiceAreaLabel(std::string_view key) {
    return key == "family" ? "Family Law" : specialtyDisplay(key);
}

std::vector<ProfessionOption> options(Keys keys, Display* display) {
    std::vector<ProfessionOption> all;
    for (const std::string_view key : keys)
        all.push_back({std::string(key), capitalised(display(key))});
    return all;
}

Keys offered(std::string_view profession, ProfessionTopic topic) {
    switch (topic) {
    case ProfessionTopic::role:
        return roleChoices(profession);
    case ProfessionTopic::practiceAreas:
        return practiceAreaChoices(profession);
    case ProfessionTopic::specialties:
        return specialtyChoices(profession);
    case ProfessionTopic::dictationTypes:
        return dictationTypeChoices(profession);
    }
    return {};
}

std::vector<std::string>& list(Settings& settings, ProfessionTopic topic) {
    return topic == ProfessionTopic::practiceAreas ? settings.lawyerPracticeAreas
           : topic == ProfessionTopic::specialties ? settings.professionSpecialties
                                                   : settings.dictationTypes;
}

/// The terms that no profile brought.
std::vector<std::string> learnedTerms(const Settings& settings) {
    const auto seed = profile(settings.profession).vocabulary;
    std::vector<std::string> learned;
    for (const std::string& term : settings.professionVocabulary)
        if (std::ranges::find(seed, term) == seed.end())
            learned.push_back(term);
    return learned;
}

void appendNew(std::vector<std::string>& terms, const std::vector<std::string>& more) {
    std::set<std::string> known;
    for (const std::string& term : terms)
        known.insert(text::lower(term));
    for (const std::string& term : more)
        if (known.insert(text::lower(term)).second)
            terms.push_back(term);
}

/// Learning drops the first terms of a list that is too long, and these are the profession's own.
void dropOldestLearned(Settings& settings) {
    std::vector<std::string>& terms = settings.professionVocabulary;
    if (terms.size() <= vocabularyLimit)
        return;
    const auto learned = terms.begin() + std::ssize(profile(settings.profession).vocabulary);
    terms.erase(learned, learned + static_cast<std::ptrdiff_t>(terms.size() - vocabularyLimit));
}

void dropForeignAnswers(Settings& settings) {
    for (const ProfessionTopic topic : {ProfessionTopic::role, ProfessionTopic::practiceAreas,
                                        ProfessionTopic::specialties, ProfessionTopic::dictationTypes}) {
        const Keys keys = offered(settings.profession, topic);
        for (const std::string& key : answers(settings, topic)) // a copy
            if (std::ranges::find(keys, key) == keys.end())
                answer(settings, topic, key, false);
    }
}

} // namespace

std::vector<ProfessionQuestion> professionQuestions(std::string_view profession) {
    if (profession.empty())
        return {};
    std::vector<ProfessionQuestion> questions;
    const auto ask = [&](ProfessionTopic topic, std::string_view question, bool takesSeveral, Display* display) {
        if (const Keys keys = offered(profession, topic); !keys.empty())
            questions.push_back({topic, question, takesSeveral, options(keys, display)});
    };
    ask(ProfessionTopic::role, "What's your role?", false, roleDisplay);
    ask(ProfessionTopic::practiceAreas, "What areas do you practice?", true, practiceAreaLabel);
    ask(ProfessionTopic::specialties, specialtyQuestion(profession), true, specialtyDisplay);
    ask(ProfessionTopic::dictationTypes, whatIsDictated, true, dictationTypeDisplay);
    return questions;
}

std::vector<std::string> answers(const Settings& settings, ProfessionTopic topic) {
    switch (topic) {
    case ProfessionTopic::role:
        return settings.professionRole.empty() ? std::vector<std::string>{} : std::vector{settings.professionRole};
    case ProfessionTopic::practiceAreas:
        return settings.lawyerPracticeAreas;
    case ProfessionTopic::specialties:
        return settings.professionSpecialties;
    case ProfessionTopic::dictationTypes:
        return settings.dictationTypes;
    }
    return {};
}

void answer(Settings& settings, ProfessionTopic topic, std::string_view key, bool isChosen) {
    if (topic == ProfessionTopic::role) {
        if (isChosen)
            settings.professionRole = key;
        else if (settings.professionRole == key)
            settings.professionRole.clear();
        return;
    }
    std::vector<std::string>& chosen = list(settings, topic);
    std::erase(chosen, key);
    if (isChosen)
        chosen.emplace_back(key);
}

void changeProfession(Config& config, std::string_view key) {
    if (config.get().profession == key)
        return;
    config.update([&](Settings& settings) {
        const std::vector<std::string> learned = learnedTerms(settings);
        selectProfession(settings, key);
        appendNew(settings.professionVocabulary, learned);
        dropOldestLearned(settings);
        dropForeignAnswers(settings);
    });
}

} // namespace fenlo
