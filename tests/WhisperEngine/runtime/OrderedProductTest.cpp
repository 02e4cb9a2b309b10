#include "WhisperEngine/runtime/OrderedProduct.h"

#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include "RandomValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace fenlo::whisper;

namespace {

struct OrderedSize {
    int outputs, inputs, step, rows; // a row begins `step` numbers behind the one before
};

std::vector<float> convolved(const OrderedProduct& layer, const std::vector<float>& src, OrderedSize size,
                             int threads) {
    ThreadPool pool(threads);
    std::vector<float> dst(static_cast<std::size_t>(size.rows) * size.outputs);
    layer.run(src.data(), size.step, dst.data(), size.rows, pool);
    return dst;
}

} // namespace

// Rows overlap, groups of outputs and blocks of rows and inputs end early, and the source ends with its last row.
TEST(OrderedProduct, IsTheLinearLayerOfOverlappingRows_WhateverTheThreads) {
    for (const OrderedSize size : {OrderedSize{1, 1, 1, 1},
                                   {7, 5, 2, 3},
                                   {48, 240, 80, 96},
                                   {64, 129, 43, 97},
                                   {131, 300, 200, 103},
                                   {96, 128, 128, 200}}) {
        const auto weights = randomFloats(static_cast<std::size_t>(size.outputs) * size.inputs, 1, 0.3F);
        const auto bias = randomFloats(size.outputs, 2);
        const auto src = randomFloats(static_cast<std::size_t>(size.rows - 1) * size.step + size.inputs, 3);
        std::vector<float> expected(static_cast<std::size_t>(size.rows) * size.outputs);
        for (int row = 0; row < size.rows; ++row)
            kernels::reference::matVec(weights.data(), bias.data(), src.data() + row * size.step,
                                       expected.data() + row * size.outputs, 0, size.outputs, size.inputs);
        kernels::reference::gelu(expected.data(), static_cast<int>(expected.size()));
        const OrderedProduct layer(weights.data(), bias.data(), size.outputs, size.inputs);
        const auto actual = convolved(layer, src, size, 1);
        expectNear(actual, expected, 4e-6F * std::sqrt(static_cast<float>(size.inputs)));
        EXPECT_EQ(actual, convolved(layer, src, size, 5));
    }
}
