#include "WhisperEngine/SegmentSeeker/DynamicTimeWarping.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace fenlo::whisper {

namespace {

enum class Step : std::uint8_t { both, down, right };

/// How the cheapest path to a cell reaches it. A tie goes to the right, as in the published alignment of words.
Step cheapest(float both, float down, float right) {
    if (both < down && both < right)
        return Step::both;
    return down < both && down < right ? Step::down : Step::right;
}

} // namespace

std::vector<int> warpedRowStarts(std::span<const float> costs, int rows, int columns) {
    const auto height = static_cast<std::size_t>(rows);
    const auto width = static_cast<std::size_t>(columns);
    std::vector<Step> steps(height * width);
    // One entry more at the left: no path comes from there, but for the one that begins.
    std::vector<float> above(width + 1, std::numeric_limits<float>::infinity());
    std::vector<float> sums = above;
    above[0] = 0;
    for (std::size_t row = 0; row < height; ++row) {
        for (std::size_t column = 0; column < width; ++column) {
            const Step step = cheapest(above[column], above[column + 1], sums[column]);
            const float before = step == Step::both   ? above[column]
                                 : step == Step::down ? above[column + 1]
                                                      : sums[column];
            steps[row * width + column] = step;
            sums[column + 1] = before + costs[row * width + column];
        }
        above.swap(sums);
        sums[0] = std::numeric_limits<float>::infinity();
    }

    std::vector<int> starts(height);
    std::size_t column = width - 1;
    for (std::size_t row = height; row-- > 0;) {
        while (column > 0 && (row == 0 || steps[row * width + column] == Step::right))
            --column;
        starts[row] = static_cast<int>(column);
        if (column > 0 && steps[row * width + column] == Step::both)
            --column;
    }
    return starts;
}

} // namespace fenlo::whisper
