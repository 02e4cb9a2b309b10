// Kernels that multiply one vector with the rows of a matrix. This file is compiled once for each instruction set.

#include "WhisperEngine/runtime/ByteRows.h"
#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Kernels.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/DotKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

/// As in the product of rows of bytes: into the second cache, across the next page.
constexpr std::size_t lookAhead = 4096;

const hn::Rebind<std::int8_t, decltype(floats)> quarters;

// Rows are floats or, for the cache of a whole window, bytes.
HWY_INLINE Floats load(const float* from) {
    return hn::LoadU(floats, from);
}
HWY_INLINE Floats load(const std::int8_t* from) {
    const hn::RebindToSigned<decltype(floats)> wide;
    return hn::ConvertTo(floats, hn::PromoteTo(wide, hn::LoadU(quarters, from)));
}
HWY_INLINE float single(float value) {
    return value;
}
HWY_INLINE float single(std::int8_t value) {
    return static_cast<float>(value);
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

void dotByteRows(const std::int8_t* rows, const std::int8_t* x, std::size_t count, std::int32_t* sums,
                 std::size_t rowCount) {
    for (std::size_t i = 0; i < rowCount; ++i)
        sums[i] = dotBytes(rows + i * count, x, count);
}

/// Two factors of each row as one.
struct Factors {
    const float* some;
    const float* others;
    HWY_INLINE float operator[](std::size_t row) const { return some[row] * others[row]; }
};

/// keep(sum, column) is given the rows' sum, each times its factor. Four vectors of columns at a time, and even and odd
/// rows apart: eight sums in flight.
template <class Number, class Numbers, class Keep>
void mixRows(const Number* rows, std::size_t stride, const Numbers& factors, std::size_t rowCount, std::size_t width,
             const Keep& keep) {
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
        keep(hn::Add(even0, odd0), i);
        keep(hn::Add(even1, odd1), i + lanes);
        keep(hn::Add(even2, odd2), i + 2 * lanes);
        keep(hn::Add(even3, odd3), i + 3 * lanes);
    }
    for (; i < width; ++i) {
        float sum = 0.0F;
        for (std::size_t p = 0; p < rowCount; ++p)
            sum += factors[p] * single(rows[p * stride + i]);
        keep(sum, i);
    }
}

/// Places sums.
struct Store {
    float* dst;
    HWY_INLINE void operator()(Floats sum, std::size_t at) const { hn::StoreU(sum, floats, dst + at); }
    HWY_INLINE void operator()(float sum, std::size_t at) const { dst[at] = sum; }
};

/// Places sums of bytes as what they stand for.
struct StoreScaled {
    float* dst;
    const float* scales;
    const float* centres;
    HWY_INLINE void operator()(Floats sum, std::size_t at) const {
        hn::StoreU(hn::MulAdd(sum, load(scales + at), load(centres + at)), floats, dst + at);
    }
    HWY_INLINE void operator()(float sum, std::size_t at) const { dst[at] = sum * scales[at] + centres[at]; }
};

void dotFloatRows(const float* rows, std::size_t stride, const float* offsets, const float* x, std::size_t count,
                  float* sums, std::size_t rowCount) {
    dotRows(rows, stride, offsets, x, count, sums, rowCount);
}
void scoreBytes(const ByteHead& head, const float* query, float* scores) {
    const auto width = static_cast<std::size_t>(head.width);
    for (std::size_t p = 0; p < static_cast<std::size_t>(head.positions); ++p) {
        const std::int8_t* const key = head.keys() + p * width;
        __builtin_prefetch(key + lookAhead, 0, 2);
        scores[p] = dot(key, query, width) * head.keyFactors()[p];
    }
}
void mixFloatRows(const float* rows, std::size_t stride, const float* factors, float* dst, std::size_t rowCount,
                  std::size_t width) {
    mixRows(rows, stride, factors, rowCount, width, Store{dst});
}
void mixBytes(const ByteHead& head, const float* scores, float* dst) {
    const auto width = static_cast<std::size_t>(head.width);
    mixRows(head.values(), width, Factors{scores, head.valueFactors()}, static_cast<std::size_t>(head.positions), width,
            StoreScaled{dst, head.valueScales(), head.valueCentres()});
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(dotByteRows);
HWY_EXPORT(dotFloatRows);
HWY_EXPORT(mixFloatRows);
HWY_EXPORT(scoreBytes);
HWY_EXPORT(mixBytes);
} // namespace

void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns) {
    allowedInstructionSet();
    const auto stride = static_cast<std::size_t>(columns);
    HWY_DYNAMIC_DISPATCH(dotFloatRows)
    (weights + firstRow * stride, stride, bias ? bias + firstRow : nullptr, x, stride, dst + firstRow,
     static_cast<std::size_t>(lastRow - firstRow));
}

void multiplyWidened(const ByteMatrix& matrix, std::span<const ByteVector> vectors, int firstRow, int lastRow) {
    allowedInstructionSet();
    const auto columns = static_cast<std::size_t>(matrix.columns);
    constexpr int block = 16; // rows that stay in the first cache for the next vector
    std::int32_t sums[block];
    for (int first = firstRow; first < lastRow; first += block) {
        const int rows = std::min(block, lastRow - first);
        for (const ByteVector& vector : vectors) {
            HWY_DYNAMIC_DISPATCH(dotByteRows)
            (matrix.weights + static_cast<std::size_t>(first) * columns, vector.values, columns, sums,
             static_cast<std::size_t>(rows));
            finish(matrix, vector, sums, first, rows);
        }
    }
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

void attendBytes(const float* query, const ByteHead& head, float* scores, float* dst) {
    allowedInstructionSet();
    for (int i = 0; i < head.width; ++i)
        dst[i] = query[i] * head.keyScales()[i]; // a place that is free until the values come
    HWY_DYNAMIC_DISPATCH(scoreBytes)(head, dst, scores);
    softmax(scores, head.positions);
    HWY_DYNAMIC_DISPATCH(mixBytes)(head, scores, dst);
}

} // namespace fenlo::whisper::kernels
#endif
