#include "audio/ClipPreparation.h"

#include "audio/WavFile.h"
#include "base/Files.h"
#include "base/Log.h"
#include "media/AudioFile.h"
#include "media/Level.h"
#include "media/Resampler.h"
#include "media/SpeechRate.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr double shortClip = 3.0;        // seconds; shorter clips are not trimmed
constexpr std::size_t frameLength = 320; // samples, 20 ms
constexpr float overNoise = 2.0F;
constexpr float lowestThreshold = 0.003F;
constexpr std::size_t padding = 15; // frames

std::vector<float> frameLevels(std::span<const float> samples) {
    std::vector<float> levels(samples.size() / frameLength);
    for (std::size_t frame = 0; frame < levels.size(); ++frame)
        levels[frame] = rms(samples.subspan(frame * frameLength, frameLength));
    return levels;
}

/// Twice the noise floor, which is the lower quartile of the levels.
float speechThreshold(std::vector<float> levels) {
    const auto quartile = levels.begin() + static_cast<std::ptrdiff_t>(levels.size() / 4);
    std::nth_element(levels.begin(), quartile, levels.end());
    return std::max(overNoise * *quartile, lowestThreshold);
}

fs::path writeClip(const fs::path& clip, std::span<const float> samples, const std::string& how) {
    fs::path prepared = files::temporaryFile(preparedClipPrefix, ".wav");
    writeWav(prepared, samples, speechRate, WavEncoding::int16);
    logInfo("Preprocess: {}KB → {}KB (16kHz mono, {})", files::kilobytes(clip), files::kilobytes(prepared), how);
    return prepared;
}

} // namespace

std::optional<SampleRange> speechRange(std::span<const float> samples) {
    const std::vector<float> levels = frameLevels(samples);
    if (levels.empty())
        return {};
    const auto isSpeech = [threshold = speechThreshold(levels)](float level) { return level > threshold; };
    const auto first = std::find_if(levels.begin(), levels.end(), isSpeech);
    if (first == levels.end())
        return {};
    const auto firstFrame = static_cast<std::size_t>(first - levels.begin());
    const auto frameAfterLast =
        static_cast<std::size_t>(std::find_if(levels.rbegin(), levels.rend(), isSpeech).base() - levels.begin());
    return SampleRange{(firstFrame - std::min(firstFrame, padding)) * frameLength,
                       std::min(samples.size(), (frameAfterLast + padding) * frameLength)};
}

fs::path prepareClip(const fs::path& clip) {
    try {
        AudioSamples audio = readSoundFile(clip, ChannelMix::average);
        const std::vector<float> samples = resample(std::move(audio.mono), audio.sampleRate, speechRate);
        if (samples.empty())
            return clip;
        if (static_cast<double>(samples.size()) / speechRate < shortClip)
            return writeClip(clip, samples, "VAD skipped — short clip");
        const auto range = speechRange(samples);
        if (!range)
            return clip;
        return writeClip(clip, std::span(samples).subspan(range->start, range->end - range->start), "VAD-trimmed");
    } catch (const std::exception& error) {
        logInfo("Preprocess failed ({}) — using original audio", error.what());
        return clip;
    }
}

void removePreparedClip(const fs::path& prepared, const fs::path& clip) {
    if (prepared != clip)
        files::removeQuietly(prepared);
}

} // namespace fenlo
