#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include "RandomValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>
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

TEST(MatMul, Int8_IsTheLinearLayer_ToWithinHalfAStepOfEachInput) {
    ThreadPool pool(2);
    for (const auto& [outputs, inputs] : {std::pair{1, 1}, {7, 5}, {64, 80}, {131, 257}}) {
        const auto bytes = randomBytes(outputs * inputs, 1);
        std::vector<float> scales(outputs);
        std::vector<float> weights(bytes.size());
        std::vector<float> magnitudes(outputs, 0.0F); // of each output's weights, summed up
        for (int i = 0; i < outputs; ++i) {
            scales[i] = 0.001F * (i % 7 + 1);
            for (int j = i * inputs; j < (i + 1) * inputs; ++j) {
                weights[j] = bytes[j] * scales[i];
                magnitudes[i] += std::fabs(weights[j]);
            }
        }
        const auto bias = randomFloats(outputs, 2);
        const MatMul layer = MatMul::int8(bytes.data(), scales.data(), bias.data(), outputs, inputs);
        for (const int rows : {1, 3, 40})
            for (const Activation activation : {Activation::none, Activation::gelu})
                for (const bool accumulate : {false, true}) {
                    auto src = randomFloats(rows * inputs, 3);
                    std::fill_n(src.begin(), inputs, 0.0F); // a row without a scale
                    const auto before = randomFloats(rows * outputs, 4);
                    const auto expected =
                        plainLayer(src, weights, bias.data(), before, outputs, inputs, activation, accumulate);
                    auto dst = before;
                    layer.run(src.data(), dst.data(), rows, activation, accumulate, pool);
                    for (int i = 0; i < rows; ++i) {
                        float largest = 0.0F;
                        for (int j = i * inputs; j < (i + 1) * inputs; ++j)
                            largest = std::max(largest, std::fabs(src[j]));
                        for (int j = 0; j < outputs; ++j) // gelu is nowhere steeper than 1.13
                            ASSERT_NEAR(dst[i * outputs + j], expected[i * outputs + j],
                                        1.13F * magnitudes[j] * largest / 254.0F + 1e-5F)
                                << i << ", " << j;
                    }
                }
    }
}

TEST(MatMul, RepeatsToTheBit_WhateverTheThreads) {
    constexpr int rows = 300;
    constexpr int outputs = 96;
    constexpr int inputs = 200;
    const auto weights = randomFloats(outputs * inputs, 1, 0.3F);
    const auto bytes = randomBytes(outputs * inputs, 2);
    const auto scales = randomFloats(outputs, 3);
    const auto src = randomFloats(rows * inputs, 4);
    const MatMul wide = MatMul::float32(weights.data(), scales.data(), outputs, inputs);
    const MatMul narrow = MatMul::int8(bytes.data(), scales.data(), nullptr, outputs, inputs);
    for (const MatMul* layer : {&wide, &narrow}) {
        std::vector<float> first;
        for (const int threads : {1, 2, 3, 8, 2}) {
            ThreadPool pool(threads);
            std::vector<float> dst(rows * outputs);
            layer->run(src.data(), dst.data(), rows, Activation::gelu, false, pool);
            if (first.empty())
                first = dst;
            EXPECT_EQ(dst, first) << threads;
        }
    }
}

TEST(MatMul, ServesSeveralCallersAtOnce) {
    const auto weights = randomFloats(64 * 48, 1);
    const MatMul layer = MatMul::float32(weights.data(), nullptr, 64, 48);
    ThreadPool pool(3);
    std::vector<std::jthread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([&, caller] {
            for (int rows = 1; rows < 120; rows += 17) {
                const auto src = randomFloats(rows * 48, caller);
                std::vector<float> dst(rows * 64);
                layer.run(src.data(), dst.data(), rows, Activation::none, false, pool);
                expectNear(dst, plainLayer(src, weights, nullptr, dst, 64, 48, Activation::none, false), 5e-5F);
            }
        });
}

TEST(AttendAll, IsAttentionHeadByHead) {
    for (const auto& [positions, heads, width] : {std::tuple{1, 1, 8}, {5, 2, 16}, {131, 3, 64}, {300, 2, 24}}) {
        const int stride = heads * width;
        const auto q = randomFloats(positions * stride, 5, 0.5F);
        const auto k = randomFloats(positions * stride, 6, 0.5F);
        const auto v = randomFloats(positions * stride, 7);
        std::vector<float> expected(q.size());
        std::vector<float> scores(positions);
        for (int head = 0; head < heads; ++head)
            for (int p = 0; p < positions; ++p)
                kernels::reference::attendOne(q.data() + p * stride + head * width, k.data() + head * width,
                                              v.data() + head * width, stride, nullptr, scores.data(),
                                              expected.data() + p * stride + head * width, positions, width);
        for (const int threads : {1, 3}) {
            ThreadPool pool(threads);
            std::vector<float> dst(q.size(), -1.0F);
            attendAll(q.data(), k.data(), v.data(), dst.data(), positions, heads, width, pool);
            expectNear(dst, expected, 1e-5F);
        }
    }
}
