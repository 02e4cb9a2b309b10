#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include "RandomValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace fenlo::whisper;

namespace {

/// A linear layer as its definition says, row by row.
std::vector<float> plainLayer(const std::vector<float> &src,
                              const std::vector<float> &weights,
                              const float *bias, std::vector<float> dst,
                              int outputs, int inputs, Activation activation,
                              bool accumulate) {
  const int rows = static_cast<int>(src.size()) / inputs;
  std::vector<float> row(outputs);
  for (int i = 0; i < rows; ++i) {
    kernels::reference::matVec(weights.data(), bias, src.data() + i * inputs,
                               row.data(), 0, outputs, inputs);
    if (activation == Activation::gelu)
      kernels::reference::gelu(row.data(), outputs);
    for (int j = 0; j < outputs; ++j)
      dst[i * outputs + j] =
          row[j] + (accumulate ? dst[i * outputs + j] : 0.0F);
  }
  return dst;
}

} // namespace

TEST(MatMul, IsTheLinearLayer_WhateverItsSize) {
  ThreadPool pool(2);
  for (const auto &[outputs, inputs] :
       {std::pair{1, 1}, {7, 5}, {64, 80}, {96, 33}, {131, 257}}) {
    const auto weights = randomFloats(outputs * inputs, 1, 0.3F);
    const auto bias = randomFloats(outputs, 2);
    const MatMul plain =
        MatMul::float32(weights.data(), nullptr, outputs, inputs);
    const MatMul biased =
        MatMul::float32(weights.data(), bias.data(), outputs, inputs);
    EXPECT_EQ(biased.outputs(), outputs);
    EXPECT_EQ(biased.inputs(), inputs);
    const float tolerance =
        1e-6F * 4.0F * std::sqrt(static_cast<float>(inputs));
    for (const int rows : {1, 2, 3, 17, 300})
      for (const Activation activation : {Activation::none, Activation::gelu})
        for (const bool accumulate : {false, true}) {
          const auto src = randomFloats(rows * inputs, 3);
          const auto before = randomFloats(rows * outputs, 4);
          auto dst = before;
          biased.run(src.data(), dst.data(), rows, activation, accumulate,
                     pool);
          expectNear(dst,
                     plainLayer(src, weights, bias.data(), before, outputs,
                                inputs, activation, accumulate),
                     tolerance);
          dst = before;
          plain.run(src.data(), dst.data(), rows, activation, accumulate, pool);
          expectNear(dst,
                     plainLayer(src, weights, nullptr, before, outputs, inputs,
                                activation, accumulate),
                     tolerance);
        }
  }
}

TEST(AttendAll, IsAttentionHeadByHead) {
  for (const auto &[positions, heads, width] :
       {std::tuple{1, 1, 8}, {5, 2, 16}, {131, 3, 64}, {300, 2, 24}}) {
    const int stride = heads * width;
    const auto q = randomFloats(positions * stride, 5, 0.5F);
    const auto k = randomFloats(positions * stride, 6, 0.5F);
    const auto v = randomFloats(positions * stride, 7);
    std::vector<float> expected(q.size());
    std::vector<float> scores(positions);
    for (int head = 0; head < heads; ++head)
      for (int p = 0; p < positions; ++p)
        kernels::reference::attendOne(
            q.data() + p * stride + head * width, k.data() + head * width,
            v.data() + head * width, stride, nullptr, scores.data(),
            expected.data() + p * stride + head * width, positions, width);
    for (const int threads : {1, 3}) {
      ThreadPool pool(threads);
      std::vector<float> dst(q.size(), -1.0F);
      attendAll(q.data(), k.data(), v.data(), dst.data(), positions, heads,
                width, pool);
      expectNear(dst, expected, 1e-5F);
    }
  }
}
