#pragma once

#include <chrono>

namespace fenlo {

/// A moment on the clock that never jumps.
using Deadline = std::chrono::steady_clock::time_point;

/// The moment so many seconds after `start`.
inline Deadline deadlineAfter(double seconds, Deadline start = Deadline::clock::now()) {
    return start + std::chrono::duration_cast<Deadline::duration>(std::chrono::duration<double>(seconds));
}

} // namespace fenlo
