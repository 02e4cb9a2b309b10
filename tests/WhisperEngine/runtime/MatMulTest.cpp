#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include "RandomValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace fenlo::whisper;

namespace {

/// A linear layer as its definition says, row by row.
std::vector<float> plainLayer(const std::vector<float>& src, const std::vector<float>& weights, const float* bias,
                              std::vector<float> dst, int outputs, int inputs, Activation activation, bool accumulate) {
    const int rows = static_cast<int>(src.size()) / inputs;
    std::vector<float> row(outputs);
    for (int i = 0; i < rows; ++i) {
        kernels::reference::matVec(weights.data(), bias, src.data() + i * inputs, row.data(), 0, outputs, inputs);
        if (activation == Activation::gelu)
            kernels::reference::gelu(row.data(), outputs);
        for (int j = 0; j < outputs; ++j)
            dst[i * outputs + j] = row[j] + (accumulate ? dst[i * outputs + j] : 0.0F);
    }
    return dst;
}

} // namespace

TEST(MatMul, IsTheLinearLayer_WhateverItsSize) {
    ThreadPool pool(2);
    for (const auto& [outputs, inputs] : {std::pair{1, 1}, {7, 5}, {64, 80}, {96, 33}, {131, 257}}) {
        const auto weights = randomFloats(outputs * inputs, 1, 0.3F);
        const auto bias = randomFloats(outputs, 2);
        const MatMul plain = MatMul::float32(weights.data(), nullptr, outputs, inputs);
        const MatMul biased = MatMul::float32(weights.data(), bias.data(), outputs, inputs);
        EXPECT_EQ(biased.outputs(), outputs);
        EXPECT_EQ(biased.inputs(), inputs);
        const float tolerance = 1e-6F * 4.0F * std::sqrt(static_cast<float>(inputs));
        for (const int rows : {1, 2, 47, 48, 49, 100})
            for (const Activation activation : {Activation::none, Activation::gelu})
                for (const bool accumulate : {false, true}) {
                    const auto src = randomFloats(rows * inputs, 3);
                    const auto before = randomFloats(rows * outputs, 4);
                    auto dst = before;
                    biased.run(src.data(), dst.data(), rows, activation, accumulate, pool);
                    expectNear(dst,
                               plainLayer(src, weights, bias.data(), before, outputs, inputs, activation, accumulate),
                               tolerance);
                    dst = before;
                    plain.run(src.data(), dst.data(), rows, activation, accumulate, pool);
                    expectNear(dst, plainLayer(src, weights, nullptr, before, outputs, inputs, activation, accumulate),
                               tolerance);
                }
    }
}

// Whole numbers of which the largest in a row is 127 keep their value in 8 bits: all sums are exact but for the scales.
TEST(MatMul, Int8_IsTheLinearLayer_WhateverItsSize) {
    ThreadPool pool(2);
    for (const auto& [outputs, inputs] :
         {std::pair{1, 1}, {7, 5}, {8, 6}, {64, 80}, {40, 128}, {131, 257}, {264, 771}}) {
        const auto bytes = randomBytes(outputs * inputs, 1);
        std::vector<float> scales(outputs);
        std::vector<float> weights(bytes.size());
        for (std::size_t i = 0; i < weights.size(); ++i) {
            scales[i / inputs] = 1e-5F * static_cast<float>(i / inputs % 7 + 1);
            weights[i] = bytes[i] * scales[i / inputs];
        }
        const auto bias = randomFloats(outputs, 2);
        const MatMul layer = MatMul::int8(bytes.data(), scales.data(), bias.data(), outputs, inputs);
        for (const int rows : {1, 3, 40, 47, 48, 100})
            for (const Activation activation : {Activation::none, Activation::gelu})
                for (const bool accumulate : {false, true}) {
                    const auto whole = randomBytes(rows * inputs, 3);
                    std::vector<float> src(whole.begin(), whole.end());
                    for (int i = 0; i < rows; ++i)
                        src[i * inputs] = i % 2 ? 127.0F : -127.0F;
                    if (rows > 1)
                        std::fill_n(src.begin(), inputs, 0.0F); // a row without a scale
                    const auto before = randomFloats(rows * outputs, 4);
                    auto dst = before;
                    layer.run(src.data(), dst.data(), rows, activation, accumulate, pool);
                    expectNear(dst,
                               plainLayer(src, weights, bias.data(), before, outputs, inputs, activation, accumulate),
                               1e-4F);
                }
    }
}

// Of rows with a few channels that are a thousand times the others, the others count as much as without them.
TEST(MatMul, Int8_KeepsTheOthersDigits_BesideWideChannels) {
    ThreadPool pool(2);
    const int rows = 100;
    for (const auto& [outputs, inputs] : {std::pair{40, 384}, {131, 771}}) {
        const auto bytes = randomBytes(outputs * inputs, 1);
        const std::vector<float> weights(bytes.begin(), bytes.end());
        const std::vector<float> scales(outputs, 1.0F);
        const MatMul layer = MatMul::int8(bytes.data(), scales.data(), scales.data(), outputs, inputs);
        const auto narrow = randomFloats(rows * inputs, 3);
        auto src = narrow;
        for (int i = 0; i < rows; ++i)
            if (i % 3 != 0) // rows without, beside rows with channels of their own
                src[i * inputs + 5] = src[i * inputs + 100 + i % 30] = 1000.0F;
        const auto multiplied = [&](const std::vector<float>& from) {
            std::vector<float> dst(static_cast<std::size_t>(rows) * outputs);
            layer.run(from.data(), dst.data(), rows, Activation::none, false, pool);
            return dst;
        };
        const auto expected =
            plainLayer(src, weights, scales.data(), multiplied(src), outputs, inputs, Activation::none, false);
        const auto actual = multiplied(src), without = multiplied(narrow);
        // A step of a row is 5 / 127, and its weights are 74 wide.
        const float tolerance = 5 * 0.0115F * 74.0F * std::sqrt(static_cast<float>(inputs));
        expectNear(actual, expected, tolerance);
        for (int i = 0; i < rows; i += 3)
            EXPECT_TRUE(std::equal(actual.begin() + i * outputs, actual.begin() + (i + 1) * outputs,
                                   without.begin() + i * outputs));
    }
}

// More channels than a block of rows has room for: the last rows keep theirs among the others.
TEST(MatMul, Int8_BearsWideChannelsOfAllRows) {
    ThreadPool pool(2);
    const int rows = 47;
    const int inputs = 512;
    const auto bytes = randomBytes(3 * inputs, 1);
    const std::vector<float> weights(bytes.begin(), bytes.end());
    const std::vector<float> scales(3, 1.0F);
    auto src = randomFloats(rows * inputs, 3);
    for (int i = 0; i < rows; ++i)
        src[i * inputs + 10 * i] = 1000.0F;
    std::vector<float> actual(rows * 3);
    MatMul::int8(bytes.data(), scales.data(), nullptr, 3, inputs)
        .run(src.data(), actual.data(), rows, Activation::none, false, pool);
    expectNear(actual, plainLayer(src, weights, nullptr, actual, 3, inputs, Activation::none, false),
               5 * 1000.0F / 440.0F * 74.0F * std::sqrt(512.0F));
}

// One thread takes several blocks of rows at a time, five take one each. Sums of whole numbers do not see it.
TEST(MatMul, Int8_GivesTheSameBits_WhateverTheThreads) {
    for (const auto& [outputs, inputs] : {std::pair{48, 192}, {131, 257}}) {
        const int rows = 750;
        const auto bytes = randomBytes(outputs * inputs, 1);
        const auto scales = randomFloats(outputs, 2, 0.01F);
        const MatMul layer = MatMul::int8(bytes.data(), scales.data(), nullptr, outputs, inputs);
        const auto src = randomFloats(rows * inputs, 3);
        const auto multiplied = [&](int threads) {
            ThreadPool pool(threads);
            std::vector<float> dst(static_cast<std::size_t>(rows) * outputs);
            layer.run(src.data(), dst.data(), rows, Activation::gelu, false, pool);
            return dst;
        };
        EXPECT_EQ(multiplied(1), multiplied(5));
    }
}

// Layers of both kinds, and of different sizes.
TEST(MatMul, Each_GivesTheBitsOfSingleLayers) {
    ThreadPool pool(2);
    const int rows = 130;
    const int inputs = 70;
    const auto bytes = randomBytes(64 * inputs, 1);
    const std::vector<float> weights(bytes.begin(), bytes.end());
    const auto scales = randomFloats(64, 2, 0.01F);
    const auto src = randomFloats(rows * inputs, 3);
    const MatMul large = MatMul::int8(bytes.data(), scales.data(), scales.data(), 64, inputs);
    const MatMul small = MatMul::int8(bytes.data(), scales.data(), nullptr, 20, inputs);
    const MatMul floats = MatMul::float32(weights.data(), nullptr, 20, inputs);
    const auto alone = [&](const MatMul& layer) {
        std::vector<float> dst(static_cast<std::size_t>(rows) * layer.outputs());
        layer.run(src.data(), dst.data(), rows, Activation::none, false, pool);
        return dst;
    };
    for (const MatMul* second : {&small, &floats}) {
        std::vector<float> first(rows * 64);
        std::vector<float> other(rows * 20);
        const MatMul::Output outputs[] = {{large, first.data()}, {*second, other.data()}};
        MatMul::runEach(outputs, src.data(), rows, pool);
        EXPECT_EQ(first, alone(large));
        EXPECT_EQ(other, alone(*second));
    }
}

// Rows of both kinds of layers, in more than one task.
TEST(MatMul, FeedForward_GivesTheBitsOfTwoLayers) {
    ThreadPool pool(2);
    const int rows = 130;
    const int width = 64;
    const int between = 514; // no whole lanes
    auto bias = randomFloats(between, 1);
    bias[7] = bias[between - 1] = 1e5F; // two channels wide in all rows
    const auto scales = randomFloats(between, 2, 0.01F);
    const auto bytes = randomBytes(width * between, 3);
    const std::vector<float> weights(bytes.begin(), bytes.end());
    const auto src = randomFloats(rows * width, 4);
    const auto compare = [&](const MatMul& in, const MatMul& out) {
        std::vector<float> inner(rows * between);
        auto expected = randomFloats(rows * width, 5);
        auto actual = expected;
        in.run(src.data(), inner.data(), rows, Activation::gelu, false, pool);
        out.run(inner.data(), expected.data(), rows, Activation::none, true, pool);
        MatMul::runFeedForward(in, out, src.data(), inner.data(), actual.data(), rows, pool);
        EXPECT_EQ(actual, expected);
    };
    compare(MatMul::int8(bytes.data(), scales.data(), bias.data(), between, width),
            MatMul::int8(bytes.data(), scales.data(), bias.data(), width, between));
    compare(MatMul::float32(weights.data(), bias.data(), between, width),
            MatMul::float32(weights.data(), bias.data(), width, between));
}
