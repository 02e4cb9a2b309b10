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
/// Bits:    sums of floats go in sixteen lanes, joined in one order, so that every step from AVX2 up gives the same
/// bits.
///          The steps below it cannot multiply and add without rounding in between: their last bits are others.
namespace fenlo::whisper::kernels {

/// dst[i] = sum over j of weights[i, j] * x[j] + bias[i] for rows [firstRow, lastRow). `bias` may be null.
void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns);

/// The same with 8-bit weights, one scale a row, and 8-bit activations of one scale: exact in 32-bit integers, and from
/// there the same float on every step. No activation is -128, which quantize() never makes.
void matVecInt8(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                float xScale, float* dst, int firstRow, int lastRow, int columns);

/// A matrix of 8-bit weights as matVecInt8() takes it.
struct ByteMatrix {
    const std::int8_t* weights; // [rows, columns]
    const float* rowScales;     // [rows]
    const float* bias;          // [rows], or null
    int columns;
};
/// Channels of a row that are so much wider than its others that these would have no digits left: their numbers are
/// zeros in the row's bytes, and what they add to a product is added in floats.
struct WideChannels {
    static constexpr int most = 16;

    int count = 0;
    int channels[most];
    float values[most];
};
/// A vector that a matrix is multiplied with, and the place of its own product.
struct ByteVector {
    const std::int8_t* values; // [columns]
    float scale;
    float* dst;                         // [rows]; none of the other vectors'
    const WideChannels* wide = nullptr; // added one behind the other
};
inline constexpr int mostByteVectors = 8;
/// matVecInt8() of any number of vectors against the same weights, which are read once for each `mostByteVectors` of
/// them. Each product has the bits that it has alone, whoever is beside it.
void matVecsInt8(const ByteMatrix& matrix, std::span<const ByteVector> vectors, int firstRow, int lastRow);

/// Symmetric quantisation to [-127, 127]; returns the scale, 0 for a row of zeros.
float quantize(const float* src, std::int8_t* dst, int count);
/// The same without what is `wide`: as long as few channels (wideAtOnce()) take more than half of the row's range, they
/// are taken out and the others quantised anew. A row that has none is quantised as above.
float quantize(const float* src, std::int8_t* dst, int count, WideChannels& wide);
/// So few that rows of independent values, after GELU or before, rarely have wide channels; none of a row that is
/// narrower than the published models' rows.
constexpr int wideAtOnce(int count) {
    return count < 384 ? 0 : 8;
}
/// Of a quantised number; half of the range.
constexpr bool isWide(std::int8_t number) {
    return number >= 64 || number <= -64;
}

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

/// Keys and values of one head of a window in 8 bits, a quarter of what floats are to read. A number stands for
///
///     number * factor of its position * scale of its channel + centre of its channel
///
/// so that a channel, or a moment, that is a hundred times as large as the others does not cost these their digits. The
/// scale is the channel's mean distance from its centre, the factor brings the position's largest number to 127. The
/// keys' centres are not kept: they add the same to all scores, which softmax does not see.
struct ByteHead {
    std::int8_t* numbers = nullptr; // [keys and values, positions, width]
    float* scales = nullptr;        // the parts below, one behind the other
    int positions = 0;
    int width = 0;

    static std::size_t numberCount(int positions, int width);
    static std::size_t scaleCount(int positions, int width);

    std::int8_t* keys() const { return numbers; }
    std::int8_t* values() const { return numbers + static_cast<std::ptrdiff_t>(positions) * width; }
    float* keyScales() const { return scales; }                                // [width]
    float* valueScales() const { return scales + width; }                      // [width]
    float* valueCentres() const { return scales + std::ptrdiff_t{2} * width; } // [width]
    float* keyFactors() const { return scales + std::ptrdiff_t{3} * width; }   // [positions]
    float* valueFactors() const { return keyFactors() + positions; }
};

/// Fills `head`. `stride` is the distance between two positions in floats. Takes scratch of the calling thread.
void quantizeHead(const float* keys, const float* values, std::size_t stride, const ByteHead& head);

/// As attendOne() without a mask.
void attendBytes(const float* query, const ByteHead& head, float* scores, float* dst);

/// The plain forms.
namespace reference {
void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns);
void matVecInt8(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                float xScale, float* dst, int firstRow, int lastRow, int columns);
void matVecsInt8(const ByteMatrix& matrix, std::span<const ByteVector> vectors, int firstRow, int lastRow);
float quantize(const float* src, std::int8_t* dst, int count);
float quantize(const float* src, std::int8_t* dst, int count, WideChannels& wide);
void layerNorm(const float* src, const float* gain, const float* shift, float* dst, int count);
void softmax(float* values, int count);
void gelu(float* values, int count);
void add(float* dst, const float* src, int count);
float largest(const float* values, int count);
float logSumExp(const float* values, int count, float maximum);
void attendOne(const float* query, const float* keys, const float* values, std::size_t stride, const float* mask,
               float* scores, float* dst, int positions, int headWidth);
void quantizeHead(const float* keys, const float* values, std::size_t stride, const ByteHead& head);
void attendBytes(const float* query, const ByteHead& head, float* scores, float* dst);
} // namespace reference

} // namespace fenlo::whisper::kernels
