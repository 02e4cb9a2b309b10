#include "WhisperEngine/SegmentSeeker/DynamicTimeWarping.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace fenlo::whisper;
using ::testing::ElementsAre;

namespace {

struct Matrix {
    std::vector<float> costs;
    int rows = 0;
    int columns = 0;
    float at(int row, int column) const { return costs[static_cast<std::size_t>(row * columns + column)]; }
};

/// The cost of the cheapest path from a cell to the last one, by trying every path.
float cheapestFrom(const Matrix& matrix, int row, int column) {
    if (row >= matrix.rows || column >= matrix.columns)
        return std::numeric_limits<float>::infinity();
    if (row == matrix.rows - 1 && column == matrix.columns - 1)
        return matrix.at(row, column);
    return matrix.at(row, column) +
           std::min({cheapestFrom(matrix, row + 1, column + 1), cheapestFrom(matrix, row + 1, column),
                     cheapestFrom(matrix, row, column + 1)});
}

/// The cost of a path that enters the rows at `starts`: it stays in a row up to where the next one begins, or to the
/// column before, whichever costs less.
float costOf(const Matrix& matrix, const std::vector<int>& starts) {
    float cost = 0;
    for (int row = 0; row < matrix.rows; ++row) {
        const int start = starts[static_cast<std::size_t>(row)];
        const bool isLast = row + 1 == matrix.rows;
        const int next = isLast ? matrix.columns : starts[static_cast<std::size_t>(row) + 1];
        for (int column = start; column < std::max(next, start + 1); ++column)
            cost += matrix.at(row, column);
        if (!isLast && next > start)
            cost += std::min(0.0F, matrix.at(row, next));
    }
    return cost;
}

} // namespace

TEST(DynamicTimeWarping, FollowsTheCheapDiagonal) {
    // clang-format off
    EXPECT_THAT(warpedRowStarts(std::vector{-1.0F,  0.1F,  0.1F,  0.1F,  0.1F,
                                             0.1F, -1.0F, -1.0F,  0.1F,  0.1F,
                                             0.1F,  0.1F,  0.1F, -1.0F, -1.0F}, 3, 5),
                ElementsAre(0, 1, 3));
    // clang-format on
    EXPECT_THAT(warpedRowStarts(std::vector<float>{0.5F, 0.5F}, 1, 2), ElementsAre(0));
    EXPECT_THAT(warpedRowStarts(std::vector<float>{0.5F, 0.5F, 0.5F}, 3, 1), ElementsAre(0, 0, 0));
}

TEST(DynamicTimeWarping, NoPathIsCheaper) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> cost(-1, 0.5F);
    for (int round = 0; round < 300; ++round) {
        Matrix matrix{{}, static_cast<int>(random() % 6 + 1), static_cast<int>(random() % 7 + 1)};
        for (int i = 0; i < matrix.rows * matrix.columns; ++i)
            matrix.costs.push_back(cost(random));
        const auto starts = warpedRowStarts(matrix.costs, matrix.rows, matrix.columns);
        ASSERT_EQ(starts.front(), 0);
        ASSERT_TRUE(std::ranges::is_sorted(starts));
        ASSERT_NEAR(costOf(matrix, starts), cheapestFrom(matrix, 0, 0), 1e-5) << round;
    }
}

TEST(DynamicTimeWarping, CostsThatAreNoNumbersDoNotHoldItUp) {
    std::vector<float> costs(12, std::numeric_limits<float>::quiet_NaN());
    const auto starts = warpedRowStarts(costs, 3, 4);
    EXPECT_TRUE(std::ranges::all_of(starts, [](int start) { return start >= 0 && start < 4; }));
}
