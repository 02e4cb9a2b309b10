#pragma once

#include <array>
#include <span>
#include <string_view>

namespace fenlo {

/// What the user says, and the text it becomes.
struct SpokenCommand {
    std::string_view spoken;
    std::string_view output;
};

/// A title and a sentence or two of screen text.
struct ProfessionCard {
    std::string_view title;
    std::string_view description;
};

/// How the program adapts to what the user does for a living. Constant data.
struct ProfessionProfile {
    std::string_view hint;            // the profession and its jargon, for a language model
    std::string_view rewriteAddendum; // appended to the prompt of a dictation
    std::span<const SpokenCommand> voiceCommands;
    std::string_view sample; // a sentence to practise with
    std::array<ProfessionCard, 3> featureCards;
    std::array<ProfessionCard, 3> tips;
    std::span<const std::string_view> vocabulary;
};

} // namespace fenlo
