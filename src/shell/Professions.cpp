#include "shell/Professions.h"

#include <array>

namespace fenlo {

namespace {

constexpr std::array choices{
    ProfessionChoice{"doctor", "Doctor"},
    ProfessionChoice{"lawyer", "Lawyer"},
    ProfessionChoice{"developer", "Developer"},
    ProfessionChoice{"pm", "Product Manager"},
    ProfessionChoice{"datascience", "Data Scientist"},
    ProfessionChoice{"designer", "Designer"},
    ProfessionChoice{"writer", "Writer"},
    ProfessionChoice{"student", "Student"},
    ProfessionChoice{"executive", "Executive"},
    ProfessionChoice{"support", "Support"},
    ProfessionChoice{"other", "Other"},
};

} // namespace

std::span<const ProfessionChoice> professionChoices() {
    return choices;
}

std::string professionLabel(const std::string& key) {
    const std::string known = key.empty() ? "other" : key;
    for (const ProfessionChoice& choice : choices)
        if (known == choice.key)
            return choice.label;
    return known;
}

} // namespace fenlo
