#pragma once

#include "session/TakePipeline.h"

namespace fenlo::test {

/// Steps that change nothing; a test replaces those that it is about.
inline TakeSteps neutralSteps() {
    return {
        .isolateVoice = [](const std::filesystem::path& chunk) { return chunk; },
        .transcribe = [](auto&&...) { return std::string(); },
        .rescue = [](auto&&...) { return std::nullopt; },
        .lastMeta = [] { return std::nullopt; },
        .runAICommand = [](auto&&...) { return std::nullopt; },
        .matchSnippet = [](auto&&) { return std::nullopt; },
        .processVoiceCommands =
            [](const std::string& text, auto&&) {
                return VoiceCommandResult{text, {}};
            },
        .rewrite =
            [](const std::string& text, auto&&...) {
                return Rewrite{text, true};
            },
        .recordTranscription = [](auto&&) {},
    };
}

} // namespace fenlo::test
