// Kernels that multiply one vector with the rows of a matrix. This file is compiled once for each instruction set.

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/DotKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

const hn::ScalableTag<float> floats;
using Floats = hn::Vec<decltype(floats)>;

/// What stays behind the last whole vector. One function for all, so that a row's sum is the same whether it is taken
/// alone or with others.
HWY_NOINLINE float addRest(float sum, const float* row, const float* x, std::size_t from, std::size_t count) {
    for (std::size_t j = from; j < count; ++j)
        sum += row[j] * x[j];
    return sum;
}

float dot(const float* row, const float* x, std::size_t count) {
    const std::size_t lanes = hn::Lanes(floats);
    Floats even = hn::Zero(floats);
    Floats odd = hn::Zero(floats);
    std::size_t j = 0;
    for (; j + 2 * lanes <= count; j += 2 * lanes) {
        even = hn::MulAdd(hn::LoadU(floats, row + j), hn::LoadU(floats, x + j), even);
        odd = hn::MulAdd(hn::LoadU(floats, row + j + lanes), hn::LoadU(floats, x + j + lanes), odd);
    }
    if (j + lanes <= count) {
        even = hn::MulAdd(hn::LoadU(floats, row + j), hn::LoadU(floats, x + j), even);
        j += lanes;
    }
    return addRest(hn::GetLane(hn::SumOfLanes(floats, hn::Add(even, odd))), row, x, j, count);
}

/// Four rows share the loads of x, and their eight sums keep both multipliers at work over a latency of four cycles.
/// Each sum is taken in the order of dot().
void dotFour(const float* rows, std::size_t stride, const float* x, std::size_t count, float* sums) {
    const std::size_t lanes = hn::Lanes(floats);
    const float* row0 = rows;
    const float* row1 = row0 + stride;
    const float* row2 = row1 + stride;
    const float* row3 = row2 + stride;
    Floats even0 = hn::Zero(floats);
    Floats even1 = even0;
    Floats even2 = even0;
    Floats even3 = even0;
    Floats odd0 = even0;
    Floats odd1 = even0;
    Floats odd2 = even0;
    Floats odd3 = even0;
    std::size_t j = 0;
    for (; j + 2 * lanes <= count; j += 2 * lanes) {
        const Floats x0 = hn::LoadU(floats, x + j);
        const Floats x1 = hn::LoadU(floats, x + j + lanes);
        even0 = hn::MulAdd(hn::LoadU(floats, row0 + j), x0, even0);
        even1 = hn::MulAdd(hn::LoadU(floats, row1 + j), x0, even1);
        even2 = hn::MulAdd(hn::LoadU(floats, row2 + j), x0, even2);
        even3 = hn::MulAdd(hn::LoadU(floats, row3 + j), x0, even3);
        odd0 = hn::MulAdd(hn::LoadU(floats, row0 + j + lanes), x1, odd0);
        odd1 = hn::MulAdd(hn::LoadU(floats, row1 + j + lanes), x1, odd1);
        odd2 = hn::MulAdd(hn::LoadU(floats, row2 + j + lanes), x1, odd2);
        odd3 = hn::MulAdd(hn::LoadU(floats, row3 + j + lanes), x1, odd3);
    }
    if (j + lanes <= count) {
        const Floats x0 = hn::LoadU(floats, x + j);
        even0 = hn::MulAdd(hn::LoadU(floats, row0 + j), x0, even0);
        even1 = hn::MulAdd(hn::LoadU(floats, row1 + j), x0, even1);
        even2 = hn::MulAdd(hn::LoadU(floats, row2 + j), x0, even2);
        even3 = hn::MulAdd(hn::LoadU(floats, row3 + j), x0, even3);
        j += lanes;
    }
    sums[0] = addRest(hn::GetLane(hn::SumOfLanes(floats, hn::Add(even0, odd0))), row0, x, j, count);
    sums[1] = addRest(hn::GetLane(hn::SumOfLanes(floats, hn::Add(even1, odd1))), row1, x, j, count);
    sums[2] = addRest(hn::GetLane(hn::SumOfLanes(floats, hn::Add(even2, odd2))), row2, x, j, count);
    sums[3] = addRest(hn::GetLane(hn::SumOfLanes(floats, hn::Add(even3, odd3))), row3, x, j, count);
}

/// sums[i] = offset[i] + row i . x
void dotRows(const float* rows, std::size_t stride, const float* offsets, const float* x, std::size_t count,
             float* sums, int rowCount) {
    int i = 0;
    for (; i + 4 <= rowCount; i += 4)
        dotFour(rows + i * stride, stride, x, count, sums + i);
    for (; i < rowCount; ++i)
        sums[i] = dot(rows + i * stride, x, count);
    if (offsets)
        for (i = 0; i < rowCount; ++i)
            sums[i] += offsets[i];
}

const hn::ScalableTag<std::int16_t> shorts;
const hn::Rebind<std::int8_t, decltype(shorts)> bytes; // as many, so half a vector
const hn::RepartitionToWide<decltype(shorts)> ints;
using Ints = hn::Vec<decltype(ints)>;

HWY_INLINE hn::Vec<decltype(shorts)> widened(const std::int8_t* from) {
    return hn::PromoteTo(shorts, hn::LoadU(bytes, from));
}

/// Products of bytes as 16-bit pairs, added up in 32 bits: nothing saturates before columns x 127 x 127 does, so each
/// order of adding gives the same sum.
void dotFourBytes(const std::int8_t* rows, std::size_t stride, const std::int8_t* x, std::size_t count,
                  std::int32_t* sums) {
    const std::size_t lanes = hn::Lanes(shorts);
    const std::int8_t* row0 = rows;
    const std::int8_t* row1 = row0 + stride;
    const std::int8_t* row2 = row1 + stride;
    const std::int8_t* row3 = row2 + stride;
    Ints sum0 = hn::Zero(ints);
    Ints sum1 = sum0;
    Ints sum2 = sum0;
    Ints sum3 = sum0;
    Ints upper0 = sum0; // Highway adds the odd products here where the processor has no sum of pairs
    Ints upper1 = sum0;
    Ints upper2 = sum0;
    Ints upper3 = sum0;
    std::size_t j = 0;
    for (; j + lanes <= count; j += lanes) {
        const auto shared = widened(x + j);
        sum0 = hn::ReorderWidenMulAccumulate(ints, widened(row0 + j), shared, sum0, upper0);
        sum1 = hn::ReorderWidenMulAccumulate(ints, widened(row1 + j), shared, sum1, upper1);
        sum2 = hn::ReorderWidenMulAccumulate(ints, widened(row2 + j), shared, sum2, upper2);
        sum3 = hn::ReorderWidenMulAccumulate(ints, widened(row3 + j), shared, sum3, upper3);
    }
    sums[0] = hn::GetLane(hn::SumOfLanes(ints, hn::Add(sum0, upper0)));
    sums[1] = hn::GetLane(hn::SumOfLanes(ints, hn::Add(sum1, upper1)));
    sums[2] = hn::GetLane(hn::SumOfLanes(ints, hn::Add(sum2, upper2)));
    sums[3] = hn::GetLane(hn::SumOfLanes(ints, hn::Add(sum3, upper3)));
    for (; j < count; ++j) {
        sums[0] += row0[j] * x[j];
        sums[1] += row1[j] * x[j];
        sums[2] += row2[j] * x[j];
        sums[3] += row3[j] * x[j];
    }
}

std::int32_t dotBytes(const std::int8_t* row, const std::int8_t* x, std::size_t count) {
    const std::size_t lanes = hn::Lanes(shorts);
    Ints sum = hn::Zero(ints);
    Ints upper = sum;
    std::size_t j = 0;
    for (; j + lanes <= count; j += lanes)
        sum = hn::ReorderWidenMulAccumulate(ints, widened(row + j), widened(x + j), sum, upper);
    std::int32_t total = hn::GetLane(hn::SumOfLanes(ints, hn::Add(sum, upper)));
    for (; j < count; ++j)
        total += row[j] * x[j];
    return total;
}

void matVecBytes(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                 float xScale, float* dst, int firstRow, int lastRow, std::size_t columns) {
    for (int row = firstRow; row < lastRow; row += 4) {
        const int together = lastRow - row < 4 ? lastRow - row : 4;
        const std::int8_t* rows = weights + row * columns;
        std::int32_t sums[4];
        if (together == 4)
            dotFourBytes(rows, columns, x, columns, sums);
        else
            for (int i = 0; i < together; ++i)
                sums[i] = dotBytes(rows + i * columns, x, columns);
        for (int i = row; i < row + together; ++i)
            dst[i] = static_cast<float>(sums[i - row]) * (rowScales[i] * xScale) + (bias ? bias[i] : 0.0F);
    }
}

/// dst = the rows' sum, each times its factor. Four vectors of columns at a time, and even and odd rows apart: eight
/// sums in flight.
void mixRows(const float* rows, std::size_t stride, const float* factors, float* dst, std::size_t rowCount,
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
        const float* at = rows + i;
        std::size_t p = 0;
        for (; p + 2 <= rowCount; p += 2, at += 2 * stride) {
            const Floats factor0 = hn::Set(floats, factors[p]);
            const Floats factor1 = hn::Set(floats, factors[p + 1]);
            even0 = hn::MulAdd(hn::LoadU(floats, at), factor0, even0);
            even1 = hn::MulAdd(hn::LoadU(floats, at + lanes), factor0, even1);
            even2 = hn::MulAdd(hn::LoadU(floats, at + 2 * lanes), factor0, even2);
            even3 = hn::MulAdd(hn::LoadU(floats, at + 3 * lanes), factor0, even3);
            odd0 = hn::MulAdd(hn::LoadU(floats, at + stride), factor1, odd0);
            odd1 = hn::MulAdd(hn::LoadU(floats, at + stride + lanes), factor1, odd1);
            odd2 = hn::MulAdd(hn::LoadU(floats, at + stride + 2 * lanes), factor1, odd2);
            odd3 = hn::MulAdd(hn::LoadU(floats, at + stride + 3 * lanes), factor1, odd3);
        }
        if (p < rowCount) {
            const Floats factor = hn::Set(floats, factors[p]);
            even0 = hn::MulAdd(hn::LoadU(floats, at), factor, even0);
            even1 = hn::MulAdd(hn::LoadU(floats, at + lanes), factor, even1);
            even2 = hn::MulAdd(hn::LoadU(floats, at + 2 * lanes), factor, even2);
            even3 = hn::MulAdd(hn::LoadU(floats, at + 3 * lanes), factor, even3);
        }
        hn::StoreU(hn::Add(even0, odd0), floats, dst + i);
        hn::StoreU(hn::Add(even1, odd1), floats, dst + i + lanes);
        hn::StoreU(hn::Add(even2, odd2), floats, dst + i + 2 * lanes);
        hn::StoreU(hn::Add(even3, odd3), floats, dst + i + 3 * lanes);
    }
    for (; i < width; ++i) {
        float sum = 0.0F;
        for (std::size_t p = 0; p < rowCount; ++p)
            sum += factors[p] * rows[p * stride + i];
        dst[i] = sum;
    }
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(dotRows);
HWY_EXPORT(matVecBytes);
HWY_EXPORT(mixRows);
} // namespace

void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns) {
    allowedInstructionSet();
    const auto stride = static_cast<std::size_t>(columns);
    HWY_DYNAMIC_DISPATCH(dotRows)
    (weights + firstRow * stride, stride, bias ? bias + firstRow : nullptr, x, stride, dst + firstRow,
     lastRow - firstRow);
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
    HWY_DYNAMIC_DISPATCH(dotRows)
    (keys, stride, mask, query, static_cast<std::size_t>(headWidth), scores, positions);
    softmax(scores, positions);
    HWY_DYNAMIC_DISPATCH(mixRows)
    (values, stride, scores, dst, static_cast<std::size_t>(positions), static_cast<std::size_t>(headWidth));
}

} // namespace fenlo::whisper::kernels
#endif
