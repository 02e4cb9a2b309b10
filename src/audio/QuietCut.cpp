#include "audio/QuietCut.h"

#include "audio/Level.h"

namespace fenlo {

namespace {

constexpr double searched = 10; // seconds before the end
constexpr double pause = 0.2;   // seconds
constexpr float clearlyQuieter =
    0.5F; // than all that is searched: a pause between words in noise is, a steady hum is not

/// The middle of the quietest pause; the end where none stands out.
std::size_t pauseCut(std::span<const float> samples, double sampleRate) {
    const auto length = static_cast<std::size_t>(sampleRate * pause);
    float quietest = clearlyQuieter * rms(samples);
    std::size_t cut = samples.size();
    for (std::size_t begin = 0; begin + length <= samples.size(); begin += levelFrame)
        if (const float level = rms(samples.subspan(begin, length)); level < quietest) {
            quietest = level;
            cut = begin + length / 2;
        }
    return cut;
}

} // namespace

std::size_t quietCut(std::span<const float> samples, double sampleRate, WithoutQuiet otherwise) {
    const std::size_t total = samples.size();
    const auto reach = static_cast<std::size_t>(sampleRate * searched);
    const std::size_t start = total > reach ? total - reach : 0;
    for (std::size_t frame = (total - start) / levelFrame; frame-- > 0;) {
        const std::size_t begin = start + frame * levelFrame;
        if (rms(samples.subspan(begin, levelFrame)) < quietLevel)
            return begin + levelFrame;
    }
    return otherwise == WithoutQuiet::atPause ? start + pauseCut(samples.subspan(start), sampleRate) : total;
}

} // namespace fenlo
