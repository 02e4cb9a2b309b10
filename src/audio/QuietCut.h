#pragma once

#include <cstddef>
#include <span>

namespace fenlo {

/// Where to cut when nothing is quiet, as in a noisy room.
enum class WithoutQuiet {
    atEnd,
    atPause, // in the middle of the quietest fifth of a second, when it is clearly quieter than the rest
};

/// Where a long take is best cut in two: at the end of the latest quiet frame within its last ten seconds, so that the
/// words after it stay whole. Without a quiet frame: at a pause if one is wanted and found, else at the very end.
///
/// Units: samples, of `sampleRate` hertz.
std::size_t quietCut(std::span<const float> samples, double sampleRate, WithoutQuiet otherwise);

} // namespace fenlo
