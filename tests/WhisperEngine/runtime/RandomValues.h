#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

inline std::vector<float> randomFloats(std::size_t count, unsigned seed, float spread = 1.0F) {
    std::mt19937 generator(seed);
    std::normal_distribution<float> draw(0.0F, spread);
    std::vector<float> values(count);
    std::generate(values.begin(), values.end(), [&] { return draw(generator); });
    return values;
}

inline std::vector<std::int8_t> randomBytes(std::size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_int_distribution<int> draw(-127, 127);
    std::vector<std::int8_t> values(count);
    std::generate(values.begin(), values.end(), [&] { return static_cast<std::int8_t>(draw(generator)); });
    return values;
}

inline void expectNear(const std::vector<float>& actual, const std::vector<float>& expected, float tolerance) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i)
        ASSERT_NEAR(actual[i], expected[i], tolerance) << "at " << i;
}
