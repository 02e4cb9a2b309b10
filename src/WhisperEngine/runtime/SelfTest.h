#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace fenlo::whisper {

/// The products that the engine asks of its library, in the sizes of one call. A test puts in wrong ones.
struct Products {
    /// dst = gelu(src x weights^T + bias) + dst, of 32-bit floats.
    std::function<void(const float* weights, const float* bias, int outputs, int inputs, const float* src, float* dst,
                       int rows)>
        linear;
    /// dst = src x (weights * scales)^T + bias, with 8-bit weights.
    std::function<void(const std::int8_t* weights, const float* scales, const float* bias, int outputs, int inputs,
                       const float* src, float* dst, int rows)>
        linearInt8;
    using Attention = std::function<void(const float* q, const float* k, const float* v, float* dst, int positions,
                                         int heads, int headWidth)>;
    /// As attendAll() and attendAllInt8().
    Attention attendAll, attendAllInt8;
};

/// Those of the engine: MatMul and attendAll, attendAllInt8.
Products engineProducts();

/// Compares each product and each small kernel with its plain form, in packed and in odd sizes; takes some
/// milliseconds. Returns what was wrong first, or nothing. It runs on the step that the process has settled on; a step
/// that does not work may end the process.
std::string selfTest(const Products& products);

} // namespace fenlo::whisper
