#pragma once

#include <cstddef>

namespace fenlo::whisper {

/// Elements of a matrix, whose two sizes are never negative.
inline std::size_t size(int rows, int columns) {
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

} // namespace fenlo::whisper
