#pragma once

#include <cstdint>
#include <memory>
#include <span>

namespace fenlo::whisper {

class ThreadPool;

enum class Activation { none, gelu };

/// The matrix product of a linear layer with many rows: dst[rows, outputs] = activation(src[rows, inputs] x weights^T +
/// bias), then, with `accumulate`, added to what dst holds. Each thread of the pool takes a block of rows.
///
/// Threads:  constant once made; run() may be called from several threads, each with a scratch of its own. Results
///           repeat bit for bit, whatever the pool's size.
/// Lifetime: weights and bias of floats are copied; those of 8 bits are viewed and outlive this.
/// Errors:   an exception only where memory runs out.
/// Shapes:   weights [outputs, inputs], row-major.
class MatMul {
public:
    /// 32-bit floats throughout, by oneDNN on the widest instruction set that the processor has.
    static MatMul float32(const float* weights, const float* bias, int outputs, int inputs);
    /// 8-bit weights with one scale a row; activations are quantised row by row. Weights are used as they lie, so that
    /// this costs nothing to make.
    static MatMul int8(const std::int8_t* weights, const float* rowScales, const float* bias, int outputs, int inputs);

    MatMul(MatMul&&) noexcept;
    MatMul& operator=(MatMul&&) noexcept;
    ~MatMul();

    int outputs() const;
    int inputs() const;

    void run(const float* src, float* dst, int rows, Activation activation, bool accumulate, ThreadPool& pool) const;
    /// Several layers of the same rows, without activations: the same bits as one run() behind the other, but 8-bit
    /// rows are quantised once.
    struct Output {
        const MatMul& layer;
        float* dst;
    };
    static void runEach(std::span<const Output> layers, const float* src, int rows, ThreadPool& pool);
    /// dst += out(gelu(in(src))), the same bits as one run() behind the other. `inner` [rows, in.outputs()] is used by
    /// layers of floats only: those of 8 bits leave nothing between them to the memory.
    static void runFeedForward(const MatMul& in, const MatMul& out, const float* src, float* inner, float* dst,
                               int rows, ThreadPool& pool);

private:
    struct Implementation;
    explicit MatMul(std::unique_ptr<Implementation> implementation);
    std::unique_ptr<Implementation> m_implementation;
};

/// Attention of all positions of a window to each other, head by head: dst = softmax(q k^T) v, with q already scaled.
/// q, k, v and dst are [positions, heads * headWidth]; dst is none of the others. The scores of a few rows at a time
/// are held, on each thread.
void attendAll(const float* q, const float* k, const float* v, float* dst, int positions, int heads, int headWidth,
               ThreadPool& pool);
/// The same in products of 8-bit values, for a model of 8 bits: queries and keys have a scale a row, values one a
/// channel, all after what their channels have in common is taken off, and shares count in 255ths of the largest in a
/// block of keys. The same bits on every step from AVX2 up (Kernels.h).
void attendAllInt8(const float* q, const float* k, const float* v, float* dst, int positions, int heads, int headWidth,
                   ThreadPool& pool);

} // namespace fenlo::whisper
