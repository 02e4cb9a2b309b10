#include "text/professions/Professions.h"

#include "settings/Config.h"
#include "text/professions/profiles/Profiles.h"

#include <algorithm>
#include <array>

namespace fenlo {

namespace {

struct Profession {
    ProfessionChoice choice;
    std::string_view display; // in a sentence
    const ProfessionProfile& profile;
};

constexpr Profession professions[] = {
    {{"doctor", "Doctor"}, "doctor", doctorProfile},
    {{"lawyer", "Lawyer"}, "lawyer", lawyerProfile},
    {{"developer", "Developer"}, "software developer", developerProfile},
    {{"pm", "Product Manager"}, "product manager", productManagerProfile},
    {{"datascience", "Data Scientist"}, "data scientist", dataScientistProfile},
    {{"designer", "Designer"}, "designer", designerProfile},
    {{"writer", "Writer"}, "writer", writerProfile},
    {{"student", "Student"}, "student", studentProfile},
    {{"executive", "Executive"}, "executive", executiveProfile},
    {{"support", "Support"}, "customer support agent", supportProfile},
    {{"other", "Other"}, "other", neutralProfile},
};

constexpr auto choices = [] {
    std::array<ProfessionChoice, std::size(professions)> all;
    std::transform(std::begin(professions), std::end(professions), all.begin(),
                   [](const Profession& profession) { return profession.choice; });
    return all;
}();

const Profession* find(std::string_view key) {
    const auto found = std::find_if(std::begin(professions), std::end(professions),
                                    [&](const Profession& profession) { return profession.choice.key == key; });
    return found == std::end(professions) ? nullptr : found;
}

} // namespace

std::span<const ProfessionChoice> professionChoices() {
    return choices;
}

std::string professionLabel(std::string_view key) {
    if (key.empty())
        key = "other";
    const Profession* profession = find(key);
    return std::string(profession ? profession->choice.label : key);
}

const ProfessionProfile& profile(std::string_view key) {
    const Profession* profession = find(key);
    return profession ? profession->profile : neutralProfile;
}

std::string professionDisplay(std::string_view key) {
    const Profession* profession = find(key);
    return std::string(profession ? profession->display : key);
}

void selectProfession(Settings& settings, std::string_view key) {
    const auto vocabulary = profile(key).vocabulary;
    settings.profession = key;
    settings.professionVocabulary.assign(vocabulary.begin(), vocabulary.end());
}

} // namespace fenlo
