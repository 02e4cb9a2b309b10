#pragma once

#include "WhisperEngine/runtime/LargeMemory.h"

#include <cstddef>
#include <vector>

namespace fenlo::whisper {

class ThreadPool;

/// A layer of floats whose sums go input after input: dst[rows, outputs] = gelu(src[rows, inputs] x weights^T + bias),
/// the same bits on every step from AVX2 up. For the convolutions of a model of 8 bits; MatMul's floats are oneDNN's,
/// which adds up as it likes.
///
/// Threads: constant once made; run() may be called from several threads. Results do not depend on the pool's size.
/// Shapes:  weights [outputs, inputs], row-major, copied into an order of our own. Rows of `src` lie `stride` floats
///          apart, and may overlap as the frames of a convolution do.
class OrderedProduct {
public:
    OrderedProduct(const float* weights, const float* bias, int outputs, int inputs);

    void run(const float* src, std::size_t stride, float* dst, int rows, ThreadPool& pool) const;

private:
    void runTask(const float* src, std::size_t stride, float* dst, int rows) const;

    int m_outputs, m_inputs;
    LargeMemory<float> m_weights; // [groups of outputs][inputs][outputs of a group], zeros behind the last output
    std::vector<float> m_bias;    // of whole groups
};

namespace kernels {

/// Outputs that lie side by side: three of the widest vectors, whose sums registers hold for eight rows.
constexpr int orderedOutputs = 48;

/// sums[row][output] += src[row] x weights, one input after the other. `sums` has `rows` rows of orderedOutputs,
/// `weights` is [inputs][orderedOutputs]; both are 64-byte aligned.
void multiplyOrdered(const float* src, std::size_t stride, int rows, const float* weights, int inputs, float* sums);
namespace reference {
void multiplyOrdered(const float* src, std::size_t stride, int rows, const float* weights, int inputs, float* sums);
} // namespace reference

} // namespace kernels

} // namespace fenlo::whisper
