// Kernels that multiply one vector with the rows of a matrix. This file is compiled once for each instruction set.

#include "WhisperEngine/runtime/HalfFloat.h"
#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/DotKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

const hn::Rebind<hwy::float16_t, decltype(floats)> halves;

// Rows are floats or, for the cache of a whole window, floats of half precision.
HWY_INLINE Floats load(const float* from) {
    return hn::LoadU(floats, from);
}
HWY_INLINE Floats load(const std::uint16_t* from) {
    return hn::PromoteTo(floats, hn::LoadU(halves, reinterpret_cast<const hwy::float16_t*>(from)));
}
HWY_INLINE float single(float value) {
    return value;
}
HWY_INLINE float single(std::uint16_t value) {
    return floatFromHalf(value);
}

/// Row after row, each from end to end: a matrix comes from main memory, which delivers one stream twice as fast as
/// four that are walked side by side. Four sums hide the latency of the multiplication.
template <class Number>
float dot(const Number* row, const float* x, std::size_t count) {
    const std::size_t lanes = hn::Lanes(floats);
    Floats sum0 = hn::Zero(floats);
    Floats sum1 = sum0;
    Floats sum2 = sum0;
    Floats sum3 = sum0;
    std::size_t j = 0;
    for (; j + 4 * lanes <= count; j += 4 * lanes) {
        sum0 = hn::MulAdd(load(row + j), load(x + j), sum0);
        sum1 = hn::MulAdd(load(row + j + lanes), load(x + j + lanes), sum1);
        sum2 = hn::MulAdd(load(row + j + 2 * lanes), load(x + j + 2 * lanes), sum2);
        sum3 = hn::MulAdd(load(row + j + 3 * lanes), load(x + j + 3 * lanes), sum3);
    }
    for (; j + lanes <= count; j += lanes)
        sum0 = hn::MulAdd(load(row + j), load(x + j), sum0);
    float sum = total(hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3)));
    for (; j < count; ++j)
        sum += single(row[j]) * x[j];
    return sum;
}

/// sums[i] = row i . x + offsets[i]
template <class Number>
void dotRows(const Number* rows, std::size_t stride, const float* offsets, const float* x, std::size_t count,
             float* sums, std::size_t rowCount) {
    for (std::size_t i = 0; i < rowCount; ++i)
        sums[i] = dot(rows + i * stride, x, count) + (offsets ? offsets[i] : 0.0F);
}

const hn::ScalableTag<std::int16_t> shorts;
const hn::Rebind<std::int8_t, decltype(shorts)> bytes; // as many, so half a vector
const hn::RepartitionToWide<decltype(shorts)> ints;
using Ints = hn::Vec<decltype(ints)>;

HWY_INLINE hn::Vec<decltype(shorts)> widened(const std::int8_t* from) {
    return hn::PromoteTo(shorts, hn::LoadU(bytes, from));
}

/// Products of bytes as 16-bit pairs, added up in 32 bits: nothing saturates, and any order gives the same sum.
std::int32_t dotBytes(const std::int8_t* row, const std::int8_t* x, std::size_t count) {
    const std::size_t lanes = hn::Lanes(shorts);
    Ints sum0 = hn::Zero(ints);
    Ints sum1 = sum0;
    Ints odd0 = sum0; // Highway adds the odd products here where the processor has no sum of pairs
    Ints odd1 = sum0;
    std::size_t j = 0;
    for (; j + 2 * lanes <= count; j += 2 * lanes) {
        sum0 = hn::ReorderWidenMulAccumulate(ints, widened(row + j), widened(x + j), sum0, odd0);
        sum1 = hn::ReorderWidenMulAccumulate(ints, widened(row + j + lanes), widened(x + j + lanes), sum1, odd1);
    }
    for (; j + lanes <= count; j += lanes)
        sum0 = hn::ReorderWidenMulAccumulate(ints, widened(row + j), widened(x + j), sum0, odd0);
    std::int32_t sum = hn::GetLane(hn::SumOfLanes(ints, hn::Add(hn::Add(sum0, sum1), hn::Add(odd0, odd1))));
    for (; j < count; ++j)
        sum += row[j] * x[j];
    return sum;
}

void matVecBytes(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                 float xScale, float* dst, int firstRow, int lastRow, std::size_t columns) {
    for (int row = firstRow; row < lastRow; ++row)
        dst[row] = static_cast<float>(dotBytes(weights + row * columns, x, columns)) * (rowScales[row] * xScale) +
                   (bias ? bias[row] : 0.0F);
}

/// dst = the rows' sum, each times its factor. Four vectors of columns at a time, and even and odd rows apart: eight
/// sums in flight.
template <class Number>
void mixRows(const Number* rows, std::size_t stride, const float* factors, float* dst, std::size_t rowCount,
             std::size_t width) {
    const std::size_t lanes = hn::Lanes(floats);
    std::size_t i = 0;
    for (; i + 4 * lanes <= width; i += 4 * lanes) {
        Floats even0 = hn::Zero(floats);
        Floats even1 = even0;
        Floats even2 = even0;
        Floats even3 = even0;
        Floats odd0 = even0;
        Floats odd1 = even0;
        Floats odd2 = even0;
        Floats odd3 = even0;
        const Number* at = rows + i;
        std::size_t p = 0;
        for (; p + 2 <= rowCount; p += 2, at += 2 * stride) {
            const Floats factor0 = hn::Set(floats, factors[p]);
            const Floats factor1 = hn::Set(floats, factors[p + 1]);
            even0 = hn::MulAdd(load(at), factor0, even0);
            even1 = hn::MulAdd(load(at + lanes), factor0, even1);
            even2 = hn::MulAdd(load(at + 2 * lanes), factor0, even2);
            even3 = hn::MulAdd(load(at + 3 * lanes), factor0, even3);
            odd0 = hn::MulAdd(load(at + stride), factor1, odd0);
            odd1 = hn::MulAdd(load(at + stride + lanes), factor1, odd1);
            odd2 = hn::MulAdd(load(at + stride + 2 * lanes), factor1, odd2);
            odd3 = hn::MulAdd(load(at + stride + 3 * lanes), factor1, odd3);
        }
        if (p < rowCount) {
            const Floats factor = hn::Set(floats, factors[p]);
            even0 = hn::MulAdd(load(at), factor, even0);
            even1 = hn::MulAdd(load(at + lanes), factor, even1);
            even2 = hn::MulAdd(load(at + 2 * lanes), factor, even2);
            even3 = hn::MulAdd(load(at + 3 * lanes), factor, even3);
        }
        hn::StoreU(hn::Add(even0, odd0), floats, dst + i);
        hn::StoreU(hn::Add(even1, odd1), floats, dst + i + lanes);
        hn::StoreU(hn::Add(even2, odd2), floats, dst + i + 2 * lanes);
        hn::StoreU(hn::Add(even3, odd3), floats, dst + i + 3 * lanes);
    }
    for (; i < width; ++i) {
        float sum = 0.0F;
        for (std::size_t p = 0; p < rowCount; ++p)
            sum += factors[p] * single(rows[p * stride + i]);
        dst[i] = sum;
    }
}

void dotFloatRows(const float* rows, std::size_t stride, const float* offsets, const float* x, std::size_t count,
                  float* sums, std::size_t rowCount) {
    dotRows(rows, stride, offsets, x, count, sums, rowCount);
}
void dotHalfRows(const std::uint16_t* rows, std::size_t stride, const float* offsets, const float* x, std::size_t count,
                 float* sums, std::size_t rowCount) {
    dotRows(rows, stride, offsets, x, count, sums, rowCount);
}
void mixFloatRows(const float* rows, std::size_t stride, const float* factors, float* dst, std::size_t rowCount,
                  std::size_t width) {
    mixRows(rows, stride, factors, dst, rowCount, width);
}
void mixHalfRows(const std::uint16_t* rows, std::size_t stride, const float* factors, float* dst, std::size_t rowCount,
                 std::size_t width) {
    mixRows(rows, stride, factors, dst, rowCount, width);
}

void halve(const float* src, std::uint16_t* dst, std::size_t count) {
    const std::size_t lanes = hn::Lanes(floats);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes)
        hn::StoreU(hn::DemoteTo(halves, hn::LoadU(floats, src + i)), halves,
                   reinterpret_cast<hwy::float16_t*>(dst + i));
    for (; i < count; ++i) {
        const hn::CappedTag<float, 1> one;
        const hn::Rebind<hwy::float16_t, decltype(one)> oneHalf;
        hn::StoreU(hn::DemoteTo(oneHalf, hn::LoadU(one, src + i)), oneHalf, reinterpret_cast<hwy::float16_t*>(dst + i));
    }
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(dotFloatRows);
HWY_EXPORT(dotHalfRows);
HWY_EXPORT(halve);
HWY_EXPORT(matVecBytes);
HWY_EXPORT(mixFloatRows);
HWY_EXPORT(mixHalfRows);
} // namespace

void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns) {
    allowedInstructionSet();
    const auto stride = static_cast<std::size_t>(columns);
    HWY_DYNAMIC_DISPATCH(dotFloatRows)
    (weights + firstRow * stride, stride, bias ? bias + firstRow : nullptr, x, stride, dst + firstRow,
     static_cast<std::size_t>(lastRow - firstRow));
}

void matVecInt8(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                float xScale, float* dst, int firstRow, int lastRow, int columns) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(matVecBytes)
    (weights, rowScales, bias, x, xScale, dst, firstRow, lastRow, static_cast<std::size_t>(columns));
}

void attendOne(const float* query, const float* keys, const float* values, std::size_t stride, const float* mask,
               float* scores, float* dst, int positions, int headWidth) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(dotFloatRows)
    (keys, stride, mask, query, static_cast<std::size_t>(headWidth), scores, static_cast<std::size_t>(positions));
    softmax(scores, positions);
    HWY_DYNAMIC_DISPATCH(mixFloatRows)
    (values, stride, scores, dst, static_cast<std::size_t>(positions), static_cast<std::size_t>(headWidth));
}

void toHalf(const float* src, std::uint16_t* dst, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(halve)(src, dst, static_cast<std::size_t>(count));
}

void attendOne(const float* query, const std::uint16_t* keys, const std::uint16_t* values, std::size_t stride,
               const float* mask, float* scores, float* dst, int positions, int headWidth) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(dotHalfRows)
    (keys, stride, mask, query, static_cast<std::size_t>(headWidth), scores, static_cast<std::size_t>(positions));
    softmax(scores, positions);
    HWY_DYNAMIC_DISPATCH(mixHalfRows)
    (values, stride, scores, dst, static_cast<std::size_t>(positions), static_cast<std::size_t>(headWidth));
}

} // namespace fenlo::whisper::kernels
#endif
