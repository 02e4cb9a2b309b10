#include "audio/SpeechTest.h"

#include "audio/Level.h"

#include <fmt/core.h>

namespace fenlo {

namespace {

constexpr double shortestTake = 0.3; // seconds
constexpr float fewestSpeechFrames = 0.15F;
constexpr float fewestWhenQuiet = 0.25F;
constexpr float quietTake = 0.003F; // RMS

float shareOfSpeech(std::span<const float> samples) {
    const std::size_t frames = samples.size() / levelFrame;
    std::size_t speech = 0;
    for (std::size_t frame = 0; frame < frames; ++frame)
        if (rms(samples.subspan(frame * levelFrame, levelFrame)) > quietLevel)
            ++speech;
    return static_cast<float>(speech) / static_cast<float>(frames);
}

} // namespace

SpeechTestResult testSpeech(std::span<const float> samples, double duration) {
    SpeechTestResult result;
    if (samples.empty() || duration < shortestTake)
        return result;
    const float level = rms(samples);
    if (level < quietLevel) {
        result.logLine = fmt::format("Recording was silent (rms={:.4f}), skipping", level);
        return result;
    }
    if (samples.size() < levelFrame) {
        result.keep = true;
        return result;
    }
    const float ratio = shareOfSpeech(samples);
    result.speechRatio = ratio;
    const int percent = static_cast<int>(ratio * 100);
    if (ratio < fewestSpeechFrames)
        result.logLine = fmt::format("Only {}% speech frames, skipping", percent);
    else if (level < quietTake && ratio < fewestWhenQuiet)
        result.logLine = fmt::format("Low speech ({}%) + quiet (rms={:.4f}), skipping", percent, level);
    else
        result.keep = true;
    return result;
}

} // namespace fenlo
