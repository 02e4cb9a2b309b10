#pragma once

#include <span>
#include <vector>

namespace fenlo::whisper {

/// Dynamic time warping over a matrix of costs: the cheapest path from the first cell to the last that goes right, down
/// or both at once (Sakoe and Chiba, 1978).
///
/// Returns the column in which the path enters each row.
/// Shapes: `costs` [rows, columns], neither of them 0.
/// Cost:   a byte for each cell; the sums are kept for two rows only.
std::vector<int> warpedRowStarts(std::span<const float> costs, int rows, int columns);

} // namespace fenlo::whisper
