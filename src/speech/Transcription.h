#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace fenlo {

/// A clip and what is known of it.
struct TranscribeRequest {
    std::filesystem::path audio = {};         // stays the caller's
    std::optional<std::string> appName = {};  // id of the focused application
    std::optional<std::string> hintText = {}; // what was said just before, such as the previous chunk of the take
    float speechRatio = 1;                    // share of speech frames, 0 to 1
    double clipDuration = 0;                  // seconds; 0 when unknown
};

/// How much of a take is recognised while the user still speaks.
enum class EarlyReach {
    nothing,
    chunks,     // those that were cut, by a service
    everything, // by the engine on this machine
};

/// How sure the recogniser was of its last result.
struct TranscriptionMeta {
    double avgConfidence = 0;                     // mean log-probability of the kept segments; 0 when there are none
    std::vector<std::string> lowConfidenceRanges; // texts of the kept segments that were doubtful, in order
};

/// What a provider makes of a clip, before guards and clean-up.
struct ProviderResult {
    std::string text;
    std::optional<TranscriptionMeta> meta;
};

/// A recognition failed. what() is one line, free of secrets.
struct TranscriberError : std::runtime_error {
    enum class Kind { networkError, noAPIKey, invalidResponse };
    TranscriberError(Kind reason, const std::string& message, std::optional<int> answered = {})
        : std::runtime_error(message), kind(reason), status(answered) {}
    Kind kind;
    std::optional<int> status; // of the service's answer, where that was the error
};

} // namespace fenlo
