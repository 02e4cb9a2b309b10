#pragma once

#include <span>

/// Loudness of samples in [-1, 1]. Sums run in double precision and in a fixed order, so that a constant signal has
/// exactly its own level.
namespace fenlo {

/// Root of the mean square; 0 without samples.
float rms(std::span<const float> samples);

/// The largest magnitude; 0 without samples.
float peak(std::span<const float> samples);

} // namespace fenlo
