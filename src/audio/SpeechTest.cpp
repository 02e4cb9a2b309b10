#include "audio/SpeechTest.h"

#include "audio/Level.h"
#include "base/Text.h"

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
    const std::string levelText = "rms=" + text::fixed(level, 4);
    if (level < quietLevel) {
        result.logLine = "[Fenlo] Recording was silent (" + levelText + "), skipping";
        return result;
    }
    if (samples.size() < levelFrame) {
        result.keep = true;
        return result;
    }
    const float ratio = shareOfSpeech(samples);
    result.speechRatio = ratio;
    const std::string percent = std::to_string(static_cast<int>(ratio * 100)) + "%";
    if (ratio < fewestSpeechFrames)
        result.logLine = "[Fenlo] Only " + percent + " speech frames, skipping";
    else if (level < quietTake && ratio < fewestWhenQuiet)
        result.logLine = "[Fenlo] Low speech (" + percent + ") + quiet (" + levelText + "), skipping";
    else
        result.keep = true;
    return result;
}

} // namespace fenlo
