#pragma once

#include <cstddef>
#include <span>

namespace fenlo::voice {

/// Quieter frames say nothing about a voice.
inline constexpr float voiceLevel = 0.01F; // RMS

/// Calls `visit` with each frame that fits whole.
template <typename Visit>
void forEachFrame(std::span<const float> samples, std::size_t length, std::size_t hop, Visit visit) {
    for (std::size_t start = 0; start + length <= samples.size(); start += hop)
        visit(samples.subspan(start, length));
}

} // namespace fenlo::voice
