#pragma once

#include <cstddef>
#include <span>

namespace fenlo {

/// Where a long take is best cut in two: at the end of the latest quiet frame within its last ten seconds, so that the
/// speech after it stays whole; at its very end when none is quiet.
std::size_t quietCut(std::span<const float> samples, double sampleRate);

} // namespace fenlo
