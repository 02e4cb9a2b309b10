#pragma once

#include "WhisperEngine/network/CompiledFile.h"
#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/OrderedProduct.h"

#include <string>
#include <utility>
#include <variant>

namespace fenlo::whisper {

/// A convolution over three frames, and GELU: a product with rows of three frames, which lie one behind the other in
/// the source. Its weights are floats in any precision. A model of 8 bits takes them in an order of our own, so that it
/// gives the same bits on every step from AVX2 up.
class FrameConvolution {
public:
    /// `step` frames lie between two rows.
    static FrameConvolution load(const CompiledFile& file, const std::string& name, int outputs, int channels,
                                 int step);

    /// dst[row] = the frames row * step, row * step + 1 and row * step + 2 of `padded`, convolved. `gathered` holds
    /// rows * 3 * channels numbers for a model of 32 bits.
    void run(const float* padded, float* dst, int rows, float* gathered, ThreadPool& pool) const;

private:
    using Weights = std::variant<MatMul, OrderedProduct>;
    FrameConvolution(Weights weights, int channels, int step)
        : m_weights(std::move(weights)), m_channels(channels), m_step(step) {}

    Weights m_weights;
    int m_channels, m_step;
};

} // namespace fenlo::whisper
