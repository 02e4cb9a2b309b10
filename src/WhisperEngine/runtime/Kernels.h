#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// The small numeric kernels of the runtime, each in two forms: a fast one on SIMD of the width that is settled for the
/// process (InstructionSet.h), and `reference` in plain C++, which stays to compare the fast one with.
///
/// Threads: pure functions on the caller's memory. No allocation.
/// Errors:  none; the caller answers for the sizes.
/// Shapes:  row-major. Any length and any alignment.
namespace fenlo::whisper::kernels {

/// dst[i] = sum over j of weights[i, j] * x[j] + bias[i] for rows [firstRow, lastRow). `bias` may be null.
void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns);

/// The same with 8-bit weights, one scale a row, and 8-bit activations of one scale: exact in 32-bit integers.
void matVecInt8(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                float xScale, float* dst, int firstRow, int lastRow, int columns);

/// Symmetric quantisation to [-127, 127]; returns the scale, 0 for a row of zeros.
float quantize(const float* src, std::int8_t* dst, int count);

/// dst = sums * (scales * factor) + bias: the sums of a product of 8-bit values back to floats. `bias` may be null.
void rescale(const std::int32_t* sums, const float* scales, float factor, const float* bias, float* dst, int count);

/// dst = (src - mean) / sqrt(variance + 1e-5) * gain + shift.
void layerNorm(const float* src, const float* gain, const float* shift, float* dst, int count);

/// In place, with the maximum subtracted first.
void softmax(float* values, int count);

/// In place; the exact form with the error function: x / 2 * (1 + erf(x / sqrt 2)).
void gelu(float* values, int count);

void add(float* dst, const float* src, int count);

/// The largest value; minus infinity for none. A NaN is never the largest.
float largest(const float* values, int count);
/// log(sum(exp(values))); `maximum` is largest(values, count). A NaN among the values makes the sum one.
float logSumExp(const float* values, int count, float maximum);

/// One query against cached keys and values of one head: scores[p] = query . key_p + mask[p] (mask may be null),
/// softmax, dst = sum of scores[p] * value_p. `stride` is the distance between two positions in floats. `scores`
/// [positions] holds the attention weights afterwards. `query` is scaled by the caller.
void attendOne(const float* query, const float* keys, const float* values, std::size_t stride, const float* mask,
               float* scores, float* dst, int positions, int headWidth);
/// The same with keys and values of half precision (IEEE 754 binary16), which halves what is read.
void attendOne(const float* query, const std::uint16_t* keys, const std::uint16_t* values, std::size_t stride,
               const float* mask, float* scores, float* dst, int positions, int headWidth);

/// To half precision: the nearest, or on a processor that cannot convert (before 2012) the one towards zero. Beyond
/// 65504 the result is not defined.
void toHalf(const float* src, std::uint16_t* dst, int count);

/// The plain forms.
namespace reference {
void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns);
void matVecInt8(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                float xScale, float* dst, int firstRow, int lastRow, int columns);
float quantize(const float* src, std::int8_t* dst, int count);
void rescale(const std::int32_t* sums, const float* scales, float factor, const float* bias, float* dst, int count);
void layerNorm(const float* src, const float* gain, const float* shift, float* dst, int count);
void softmax(float* values, int count);
void gelu(float* values, int count);
void add(float* dst, const float* src, int count);
float largest(const float* values, int count);
float logSumExp(const float* values, int count, float maximum);
void attendOne(const float* query, const float* keys, const float* values, std::size_t stride, const float* mask,
               float* scores, float* dst, int positions, int headWidth);
} // namespace reference

} // namespace fenlo::whisper::kernels
