// Kernels that walk along one row. This file is compiled once for each instruction set.

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Kernels.h"

#include <algorithm>
#include <cmath>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/RowKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

float quantizeRow(const float* src, std::int8_t* dst, std::size_t count) {
    Floats found = hn::Zero(floats);
    forEach(src, count, 0.0F, [&found](Floats v, std::size_t) { found = hn::Max(found, hn::Abs(v)); });
    const float widest = hn::GetLane(hn::MaxOfLanes(floats, found));
    const float toInteger = widest > 0.0F ? 127.0F / widest : 0.0F;
    if (toInteger == 0.0F || toInteger > std::numeric_limits<float>::max()) {
        for (std::size_t i = 0; i < count; ++i)
            dst[i] = 0;
        return 0.0F;
    }
    const hn::Rebind<std::int8_t, decltype(floats)> bytes;
    const Floats factor = hn::Set(floats, toInteger);
    forEach(src, count, 0.0F, [&](Floats v, std::size_t at) {
        const auto narrow = hn::DemoteTo(bytes, hn::NearestInt(hn::Mul(v, factor)));
        if (at + hn::Lanes(floats) <= count)
            return hn::StoreU(narrow, bytes, dst + at);
        std::int8_t rest[hn::MaxLanes(floats)];
        hn::StoreU(narrow, bytes, rest);
        for (std::size_t j = at; j < count; ++j)
            dst[j] = rest[j - at];
    });
    return widest / 127.0F;
}

void rescaleRow(const std::int32_t* sums, const float* scales, float factor, const float* bias, float* dst,
                std::size_t count) {
    const hn::RebindToSigned<decltype(floats)> ints;
    const Floats factors = hn::Set(floats, factor);
    const std::size_t lanes = hn::Lanes(floats);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const Floats sum = hn::ConvertTo(floats, hn::LoadU(ints, sums + i));
        const Floats offset = bias ? hn::LoadU(floats, bias + i) : hn::Zero(floats);
        hn::StoreU(hn::MulAdd(sum, hn::Mul(hn::LoadU(floats, scales + i), factors), offset), floats, dst + i);
    }
    for (; i < count; ++i)
        dst[i] = static_cast<float>(sums[i]) * (scales[i] * factor) + (bias ? bias[i] : 0.0F);
}

void normalizeRow(const float* src, const float* gain, const float* shift, float* dst, std::size_t count) {
    Floats sums = hn::Zero(floats);
    forEach(src, count, 0.0F, [&sums](Floats v, std::size_t) { sums = hn::Add(sums, v); });
    const float middle = total(sums) / static_cast<float>(count);
    const Floats mean = hn::Set(floats, middle);
    Floats squares = hn::Zero(floats);
    forEach(src, count, middle, [&squares, mean](Floats v, std::size_t) {
        const Floats off = hn::Sub(v, mean);
        squares = hn::MulAdd(off, off, squares);
    });
    const Floats scale = hn::Set(floats, 1.0F / std::sqrt(total(squares) / static_cast<float>(count) + 1e-5F));
    const std::size_t lanes = hn::Lanes(floats);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const Floats unit = hn::Mul(hn::Sub(hn::LoadU(floats, src + i), mean), scale);
        hn::StoreU(hn::MulAdd(unit, hn::LoadU(floats, gain + i), hn::LoadU(floats, shift + i)), floats, dst + i);
    }
    for (; i < count; ++i)
        dst[i] = (src[i] - middle) * hn::GetLane(scale) * gain[i] + shift[i];
}

void addRow(float* dst, const float* src, std::size_t count) {
    const std::size_t lanes = hn::Lanes(floats);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes)
        hn::StoreU(hn::Add(hn::LoadU(floats, dst + i), hn::LoadU(floats, src + i)), floats, dst + i);
    for (; i < count; ++i)
        dst[i] += src[i];
}

std::size_t indexOf(const float* values, std::size_t count, float wanted) {
    const std::size_t lanes = hn::Lanes(floats);
    const Floats same = hn::Set(floats, wanted);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto found = hn::FindFirstTrue(floats, hn::Eq(hn::LoadU(floats, values + i), same));
        if (found >= 0)
            return i + static_cast<std::size_t>(found);
    }
    while (i < count && values[i] != wanted)
        ++i;
    return i < count ? i : 0; // values that are no numbers equal nothing
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(quantizeRow);
HWY_EXPORT(rescaleRow);
HWY_EXPORT(normalizeRow);
HWY_EXPORT(addRow);
HWY_EXPORT(largest);
HWY_EXPORT(indexOf);

std::size_t size(int count) {
    return static_cast<std::size_t>(std::max(count, 0));
}
} // namespace

float quantize(const float* src, std::int8_t* dst, int count) {
    allowedInstructionSet();
    return HWY_DYNAMIC_DISPATCH(quantizeRow)(src, dst, size(count));
}

void rescale(const std::int32_t* sums, const float* scales, float factor, const float* bias, float* dst, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(rescaleRow)
    (sums, scales, factor, bias, dst, size(count));
}

void layerNorm(const float* src, const float* gain, const float* shift, float* dst, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(normalizeRow)(src, gain, shift, dst, size(count));
}

void add(float* dst, const float* src, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(addRow)(dst, src, size(count));
}

int argMax(const float* values, int count) {
    allowedInstructionSet();
    const float best = HWY_DYNAMIC_DISPATCH(largest)(values, size(count));
    return static_cast<int>(HWY_DYNAMIC_DISPATCH(indexOf)(values, size(count), best));
}

} // namespace fenlo::whisper::kernels
#endif
