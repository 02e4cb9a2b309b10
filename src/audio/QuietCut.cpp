#include "audio/QuietCut.h"

#include "audio/Level.h"

namespace fenlo {

namespace {
constexpr double searched = 10; // seconds before the end
}

std::size_t quietCut(std::span<const float> samples, double sampleRate) {
    const std::size_t total = samples.size();
    const auto reach = static_cast<std::size_t>(sampleRate * searched);
    const std::size_t start = total > reach ? total - reach : 0;
    for (std::size_t frame = (total - start) / levelFrame; frame-- > 0;) {
        const std::size_t begin = start + frame * levelFrame;
        if (rms(samples.subspan(begin, levelFrame)) < quietLevel)
            return begin + levelFrame;
    }
    return total;
}

} // namespace fenlo
