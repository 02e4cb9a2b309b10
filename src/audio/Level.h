#pragma once

#include "media/Level.h"

#include <cstddef>

/// What counts as quiet in a take.
namespace fenlo {

/// A buffer or frame with a lower RMS is quiet. Microphones at rest lie below it, whispering far above.
inline constexpr float quietLevel = 0.001f;

/// Length of the frames in which takes are searched for speech and for quiet.
inline constexpr std::size_t levelFrame = 1024; // samples

} // namespace fenlo
