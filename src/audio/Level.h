#pragma once

#include "media/Level.h"

#include <algorithm>
#include <cstddef>

/// What counts as quiet in a take.
namespace fenlo {

/// A buffer or frame with a lower RMS is quiet. Microphones at rest lie below it, whispering far above.
inline constexpr float quietLevel = 0.001f;

/// The level for display, 0 to 1.
inline float displayLevel(float rms) {
    constexpr float fullScale = 0.15F; // shown as 1
    return std::min(rms / fullScale, 1.0F);
}

/// Length of the frames in which takes are searched for speech and for quiet.
inline constexpr std::size_t levelFrame = 1024; // samples

} // namespace fenlo
