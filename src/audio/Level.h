#pragma once

#include <cstddef>
#include <span>

/// Loudness of samples in [-1, 1]. Sums run in double precision and in a fixed order, so that a constant signal has
/// exactly its own level.
namespace fenlo {

/// A buffer or frame with a lower RMS is quiet. Microphones at rest lie below it, whispering far above.
inline constexpr float quietLevel = 0.001f;

/// Length of the frames in which takes are searched for speech and for quiet.
inline constexpr std::size_t levelFrame = 1024; // samples

/// Root of the mean square; 0 without samples.
float rms(std::span<const float> samples);

/// The largest magnitude; 0 without samples.
float peak(std::span<const float> samples);

} // namespace fenlo
