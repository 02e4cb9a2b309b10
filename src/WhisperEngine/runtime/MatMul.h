#pragma once

#include <cstdint>
#include <memory>

namespace fenlo::whisper {

class ThreadPool;

enum class Activation { none, gelu };

/// The matrix product of a linear layer with many rows: dst[rows, outputs] = activation(src[rows, inputs] x weights^T +
/// bias), then, with `accumulate`, added to what dst holds. Through oneDNN on the widest instruction set that the
/// processor has; each thread of the pool takes a block of rows.
///
/// Threads:  constant once made; run() may be called from several threads, each with a scratch of its own. Results
///           repeat bit for bit, whatever the pool's size.
/// Lifetime: weights and bias are copied.
/// Errors:   an exception only where memory runs out.
/// Shapes:   weights [outputs, inputs], row-major.
class MatMul {
public:
    /// 32-bit floats throughout.
    static MatMul float32(const float* weights, const float* bias, int outputs, int inputs);
    /// 8-bit weights with one scale a row; activations are quantised row by row. On a processor without 8-bit dot
    /// products the weights are widened once, and the product is one of 32-bit floats.
    static MatMul int8(const std::int8_t* weights, const float* rowScales, const float* bias, int outputs, int inputs);

    MatMul(MatMul&&) noexcept;
    MatMul& operator=(MatMul&&) noexcept;
    ~MatMul();

    int outputs() const;
    int inputs() const;

    void run(const float* src, float* dst, int rows, Activation activation, bool accumulate, ThreadPool& pool) const;

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

} // namespace fenlo::whisper
