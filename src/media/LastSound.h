#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace fenlo {

/// Frames in which the last sound of a recording is searched.
inline constexpr std::size_t soundFrame = 320; // samples at 16 kHz, 20 ms

/// RMS of each frame; the last one may be short.
std::vector<float> soundLevels(std::span<const float> recording);

/// How many frames there are up to the end of the last sound, by the levels of all frames; nothing when none sounds.
///
/// Silence is what lies within about 6 dB of the quietest fifth of a second, so that a whisper is none. A sound lasts
/// 80 ms within 120; what is shorter and stands alone is the click of a key.
std::optional<std::size_t> framesToLastSound(std::span<const float> levels);

/// How many frames a recording keeps whose last sound ends behind so many: two to three tenths of a second more, up to
/// a whole tenth, so that it does not matter which of two frames a sound faded away in.
std::size_t framesKept(std::size_t framesToLastSound);

/// Where a recording may end: behind the frames that it keeps, or at its own end where nothing sounds or is silent.
/// What lies behind that changes no sample before it, so that two recordings which differ only in how long the silence
/// at their end lasts are the same.
std::size_t behindLastSound(std::span<const float> recording);

} // namespace fenlo
