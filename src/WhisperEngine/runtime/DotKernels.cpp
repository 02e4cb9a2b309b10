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

// Rows are floats or, for the cache of a whole window, bytes.
template <class Tag>
HWY_INLINE hn::Vec<Tag> loadAs(Tag tag, const float* from) {
    return hn::LoadU(tag, from);
}
template <class Tag>
HWY_INLINE hn::Vec<Tag> loadAs(Tag tag, const std::int8_t* from) {
    const hn::Rebind<std::int8_t, Tag> quarters;
    const hn::RebindToSigned<Tag> wide;
    return hn::ConvertTo(tag, hn::PromoteTo(wide, hn::LoadU(quarters, from)));
}
template <class Number>
HWY_INLINE Floats load(const Number* from) {
    return loadAs(floats, from);
}

/// Row after row, each from end to end: a matrix comes from main memory, which delivers one stream twice as fast as
/// four that are walked side by side. Four sums hide the latency of the multiplication.
template <class Number>
float dot(const Number* row, const float* x, std::size_t count) {
    const std::size_t lanes = hn::Lanes(floats);
    Sums sums[4];
    const auto multiply = [lanes](Sums& sum, const auto* left, const float* right) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < sumVectors; ++i)
            sum.part[i] = hn::MulAdd(load(left + i * lanes), load(right + i * lanes), sum.part[i]);
    };
    std::size_t j = 0;
    for (; j + 4 * sumLanes <= count; j += 4 * sumLanes)
#pragma GCC unroll 4
        for (std::size_t i = 0; i < 4; ++i)
            multiply(sums[i], row + j + i * sumLanes, x + j + i * sumLanes);
    for (; j + sumLanes <= count; j += sumLanes)
        multiply(sums[0], row + j, x + j);
    if (j < count) {
        HWY_ALIGN float left[sumLanes] = {};
        HWY_ALIGN float right[sumLanes] = {};
        for (std::size_t i = 0; j + i < count; ++i) {
            left[i] = static_cast<float>(row[j + i]);
            right[i] = x[j + i];
        }
        multiply(sums[0], left, right);
    }
    sums[0].add(sums[1]);
    sums[2].add(sums[3]);
    sums[0].add(sums[2]);
    return total(sums[0]);
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

/// keep(tag, sum, at) is given the rows' sum, each times its factor, for some vectors of neighbouring columns. Even and
/// odd rows apart: twice as many sums in flight.
template <std::size_t vectors, class Tag, class Number, class Numbers, class Keep>
HWY_INLINE void mixColumns(Tag tag, const Number* rows, std::size_t stride, const Numbers& factors,
                           std::size_t rowCount, std::size_t first, const Keep& keep) {
    const std::size_t lanes = hn::Lanes(tag);
    hn::Vec<Tag> even[vectors];
    hn::Vec<Tag> odd[vectors];
#pragma GCC unroll 4
    for (std::size_t v = 0; v < vectors; ++v)
        even[v] = odd[v] = hn::Zero(tag);
    const auto add = [&](hn::Vec<Tag>* sums, std::size_t row) {
        const auto factor = hn::Set(tag, factors[row]);
        const Number* const at = rows + row * stride + first;
        if constexpr (sizeof(Number) == 1)
            __builtin_prefetch(at + lookAhead, 0, 2);
#pragma GCC unroll 4
        for (std::size_t v = 0; v < vectors; ++v)
            sums[v] = hn::MulAdd(loadAs(tag, at + v * lanes), factor, sums[v]);
    };
    std::size_t p = 0;
    for (; p + 2 <= rowCount; p += 2) {
        add(even, p);
        add(odd, p + 1);
    }
    if (p < rowCount)
        add(even, p);
#pragma GCC unroll 4
    for (std::size_t v = 0; v < vectors; ++v)
        keep(tag, hn::Add(even[v], odd[v]), first + v * lanes);
}

/// The same for all columns.
template <class Number, class Numbers, class Keep>
void mixRows(const Number* rows, std::size_t stride, const Numbers& factors, std::size_t rowCount, std::size_t width,
             const Keep& keep) {
    const std::size_t four = 4 * hn::Lanes(floats);
    std::size_t i = 0;
    for (; i + four <= width; i += four)
        mixColumns<4>(floats, rows, stride, factors, rowCount, i, keep);
    for (; i < width; ++i)
        mixColumns<1>(hn::CappedTag<float, 1>(), rows, stride, factors, rowCount, i, keep);
}

/// Places sums.
struct Store {
    float* dst;
    template <class Tag>
    HWY_INLINE void operator()(Tag tag, hn::Vec<Tag> sum, std::size_t at) const {
        hn::StoreU(sum, tag, dst + at);
    }
};

/// Places sums of bytes as what they stand for.
struct StoreScaled {
    float* dst;
    const float* scales;
    const float* centres;
    template <class Tag>
    HWY_INLINE void operator()(Tag tag, hn::Vec<Tag> sum, std::size_t at) const {
        hn::StoreU(hn::MulAdd(sum, loadAs(tag, scales + at), loadAs(tag, centres + at)), tag, dst + at);
    }
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
