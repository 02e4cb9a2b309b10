#pragma once

#include <cstddef>
#include <span>
#include <vector>

/// Level and pitch by frames of one length, so that overlapping stretches of speech can share them.
namespace fenlo::voice {

inline constexpr std::size_t pitchFrame = 1600; // samples, 100 ms
inline constexpr std::size_t pitchHop = 800;

/// The RMS of each frame.
std::vector<float> frameLevels(std::span<const float> samples);

/// The pitch in hertz of each frame, 0 for an unvoiced one; `levels` are those of the same samples.
std::vector<double> framePitches(std::span<const float> samples, std::span<const float> levels);

/// The levels without those of silent frames.
std::vector<float> audible(std::span<const float> levels);

/// The pitches of the voiced frames.
std::vector<double> voiced(std::span<const double> pitches);

} // namespace fenlo::voice
