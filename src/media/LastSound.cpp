#include "media/LastSound.h"

#include "media/Level.h"

#include <algorithm>
#include <cmath>

namespace fenlo {

namespace {

// Frames.
constexpr std::size_t quietest = 10; // 0.2 s, which every pause has
constexpr std::size_t together = 6;  // among which so many sound:
constexpr std::size_t sounding = 4;
constexpr std::size_t keptBehind = 10; // a plosive may follow its vowel after a tenth of a second
constexpr std::size_t tenth = 5;
// Levels.
constexpr float aboveQuietest = 2;
constexpr float stepsADoubling =
    2; // of the limit, so that it stays where it is when the quietest frames change a little
constexpr float digitalSilence = 0.0005f;

float loudestSilence(std::span<const float> levels) {
    std::vector<float> sorted(levels.begin(), levels.end());
    const auto quiet = sorted.begin() + quietest - 1;
    std::ranges::nth_element(sorted, quiet);
    const float limit = std::max(aboveQuietest * *quiet, digitalSilence);
    return std::exp2(std::round(std::log2(limit) * stepsADoubling) / stepsADoubling);
}

} // namespace

std::vector<float> soundLevels(std::span<const float> recording) {
    std::vector<float> levels;
    levels.reserve(recording.size() / soundFrame + 1);
    for (std::size_t start = 0; start < recording.size(); start += soundFrame)
        levels.push_back(rms(recording.subspan(start, std::min(soundFrame, recording.size() - start))));
    return levels;
}

std::optional<std::size_t> framesToLastSound(std::span<const float> levels) {
    if (levels.size() < quietest)
        return std::nullopt;
    const float silence = loudestSilence(levels);
    const auto sounds = [silence](float level) { return level > silence; };
    for (std::size_t end = levels.size(); end >= together; --end)
        if (sounds(levels[end - 1]) && std::ranges::count_if(levels.subspan(end - together, together), sounds) >=
                                           static_cast<std::ptrdiff_t>(sounding))
            return end;
    return std::nullopt;
}

std::size_t framesKept(std::size_t framesToLastSound) {
    return (framesToLastSound + keptBehind + tenth - 1) / tenth * tenth;
}

std::size_t behindLastSound(std::span<const float> recording) {
    const auto frames = framesToLastSound(soundLevels(recording));
    return frames ? std::min(recording.size(), framesKept(*frames) * soundFrame) : recording.size();
}

} // namespace fenlo
