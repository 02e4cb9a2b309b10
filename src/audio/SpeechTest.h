#pragma once

#include <optional>
#include <span>
#include <string>

namespace fenlo {

struct SpeechTestResult {
    bool keep = false;
    std::optional<float> speechRatio; // share of frames with speech; none when the test did not come that far
    std::string logLine;              // why the take is dropped; may be empty
};

/// Decides whether a take is worth transcribing. `duration` is the time between press and release in seconds; the
/// samples are as recorded, at any rate. Pure, for any thread.
SpeechTestResult testSpeech(std::span<const float> samples, double duration);

} // namespace fenlo
