#pragma once

#include "text/professions/Professions.h"

#include <string>
#include <string_view>
#include <vector>

/// What a person is asked about their profession, and where the answers are kept.
///
/// Threads: any; pure but for changeProfession(), which changes the settings on the caller's thread.
namespace fenlo {

class Config;

/// The setting that an answer goes to.
enum class ProfessionTopic { role, practiceAreas, specialties, dictationTypes };

struct ProfessionOption {
    std::string key;
    std::string label; // what people read
};

struct ProfessionQuestion {
    ProfessionTopic topic;
    std::string_view text;
    bool takesSeveral; // or one at most
    std::vector<ProfessionOption> options;
};

/// In the order in which they are asked; none for an empty key.
std::vector<ProfessionQuestion> professionQuestions(std::string_view profession);

/// The keys that are chosen.
std::vector<std::string> answers(const Settings& settings, ProfessionTopic topic);

/// Adds a key to the answers or takes it from them. A question that takes one answer forgets the one before.
void answer(Settings& settings, ProfessionTopic topic, std::string_view key, bool isChosen);

/// Makes it the user's profession as selectProfession() does, but keeps the terms that were learned, and drops answers
/// that the new profession has no question for. Nothing happens when it is the user's profession already.
void changeProfession(Config& config, std::string_view key);

} // namespace fenlo
