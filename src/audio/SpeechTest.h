#pragma once

#include <optional>
#include <span>
#include <string>

namespace fenlo {

struct SpeechTestResult {
    bool keep = false;
    std::optional<float> speechRatio; // share of frames with speech; absent when the test ended before it was measured
    std::string logLine; // why the take is dropped, without the prefix of the log; empty when that needs no line
};

/// Decides whether a take is worth transcribing. `duration` is the time between press and release in seconds; the
/// samples are as recorded, at any rate. Pure, for any thread.
SpeechTestResult testSpeech(std::span<const float> samples, double duration);

} // namespace fenlo
