#include "shell/onboarding/FeatureList.h"

#include "text/professions/Professions.h"

namespace fenlo {

std::vector<Feature> featureList(std::string_view profession, const std::string& hotkey) {
    std::vector<Feature> features;
    for (const ProfessionCard& card : profile(profession).featureCards)
        features.push_back({std::string(card.title), std::string(card.description)});
    features.push_back({"Ask for a change", "Select text, hold " + hotkey +
                                                ", tap Space and say what to do with it: “make it shorter”, “translate "
                                                "this to Spanish”."});
    features.push_back(
        {"Take it back by voice",
         "Right after a dictation, “correct that to …” replaces its end and “delete that” removes what is "
         "selected."});
    features.push_back({"Snippets", "A few words of yours stand for a whole text: an address, a reply, a signature."});
    return features;
}

} // namespace fenlo
