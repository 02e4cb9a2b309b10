#include "text/UserProfile.h"

#include "base/Text.h"
#include "text/professions/Professions.h"

namespace fenlo {

namespace {

using Display = std::string(std::string_view key);

std::string listed(const std::vector<std::string>& keys, Display* display) {
    std::vector<std::string> forms;
    for (const std::string& key : keys)
        forms.push_back(display(key));
    return text::join(forms, ", ") + ".";
}

std::string specialtiesLeadIn(std::string_view profession) {
    if (profession == "developer")
        return " They primarily work with: ";
    if (profession == "pm")
        return " They use: ";
    return " They specialize in: ";
}

} // namespace

std::string userProfileSentence(const Settings& settings) {
    const std::string& profession = settings.profession;
    if (profession.empty() || profession == "other")
        return {};
    // Always "a", even before a vowel: the models understand it.
    std::string sentences = "The user is a ";
    if (!settings.professionRole.empty())
        sentences += roleDisplay(settings.professionRole) + " ";
    sentences += professionDisplay(profession) + ".";
    if (profession == "lawyer" && !settings.lawyerPracticeAreas.empty())
        sentences += " They practice: " + listed(settings.lawyerPracticeAreas, specialtyDisplay);
    if (!settings.professionSpecialties.empty())
        sentences += specialtiesLeadIn(profession) + listed(settings.professionSpecialties, specialtyDisplay);
    if (!settings.dictationTypes.empty())
        sentences += " They mainly dictate: " + listed(settings.dictationTypes, dictationTypeDisplay);
    return sentences;
}

} // namespace fenlo
