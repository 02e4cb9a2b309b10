// Keys and values in 8 bits. This file is compiled once for each instruction set.

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/Product.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/ByteHead.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

template <class Tag>
HWY_INLINE hn::Vec<Tag> inverse(Tag tag, hn::Vec<Tag> value) {
    const auto found = hn::Div(hn::Set(tag, 1.0F), value);
    const auto isNumber =
        hn::And(hn::Gt(value, hn::Zero(tag)), hn::Le(found, hn::Set(tag, hwy::HighestValue<float>())));
    return hn::IfThenElseZero(isNumber, found);
}

/// Centres and inverse scales of as many neighbouring channels as `tag` has lanes. Sums without products: a fused
/// multiplication would make the last bit depend on the instruction set.
template <class Tag>
HWY_INLINE void measureColumns(Tag tag, const float* src, std::size_t stride, std::size_t positions, float* centres,
                               float* inverses) {
    const auto count = hn::Set(tag, static_cast<float>(positions));
    auto sum = hn::Zero(tag);
    for (std::size_t p = 0; p < positions; ++p)
        sum = hn::Add(sum, hn::LoadU(tag, src + p * stride));
    const auto centre = hn::Div(sum, count);
    auto distances = hn::Zero(tag);
    for (std::size_t p = 0; p < positions; ++p)
        distances = hn::Add(distances, hn::Abs(hn::Sub(hn::LoadU(tag, src + p * stride), centre)));
    hn::StoreU(centre, tag, centres);
    hn::StoreU(inverse(tag, hn::Div(distances, count)), tag, inverses);
}

void quantizePart(const float* src, std::size_t stride, std::size_t positions, std::size_t width, float* centres,
                  float* scales, std::int8_t* numbers, float* factors) {
    forColumns(width, [&](auto tag, std::size_t at) {
        measureColumns(tag, src + at, stride, positions, centres + at, scales + at);
    });
    for (std::size_t p = 0; p < positions; ++p, src += stride, numbers += width) {
        const auto level = [&](auto tag, std::size_t at) {
            return hn::Mul(hn::Sub(hn::LoadU(tag, src + at), hn::LoadU(tag, centres + at)),
                           hn::LoadU(tag, scales + at));
        };
        Floats found = hn::Zero(floats);
        float rest = 0.0F;
        forColumns(width, [&](auto tag, std::size_t at) {
            const auto distance = hn::Abs(level(tag, at));
            if constexpr (hn::MaxLanes(tag) == hn::MaxLanes(floats))
                found = hn::Max(found, distance);
            else
                rest = HWY_MAX(rest, hn::GetLane(distance));
        });
        const float widest = HWY_MAX(rest, hn::GetLane(hn::MaxOfLanes(floats, found)));
        const hn::CappedTag<float, 1> one;
        const float toInteger = 127.0F * hn::GetLane(inverse(one, hn::Set(one, widest)));
        factors[p] = widest / 127.0F;
        forColumns(width, [&](auto tag, std::size_t at) {
            const hn::Rebind<std::int8_t, decltype(tag)> bytes;
            const auto number = hn::Mul(level(tag, at), hn::Set(tag, toInteger));
            hn::StoreU(hn::DemoteTo(bytes, hn::NearestInt(number)), bytes, numbers + at);
        });
    }
    forColumns(width, [&](auto tag, std::size_t at) {
        hn::StoreU(inverse(tag, hn::LoadU(tag, scales + at)), tag, scales + at);
    });
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(quantizePart);

/// One position behind the other, as four passes want them: those of a window with all of its heads lie so far apart
/// that they take each other's place in the cache.
const float* gathered(const float* src, std::size_t stride, std::size_t positions, std::size_t width) {
    auto* const rows = scratchOf<float>(Slot::row, positions * width);
    for (std::size_t p = 0; p < positions; ++p)
        std::copy_n(src + p * stride, width, rows + p * width);
    return rows;
}
} // namespace

std::size_t ByteHead::numberCount(int positions, int width) {
    return 2 * static_cast<std::size_t>(positions) * static_cast<std::size_t>(width);
}

std::size_t ByteHead::scaleCount(int positions, int width) {
    return 3 * static_cast<std::size_t>(width) + 2 * static_cast<std::size_t>(positions);
}

void quantizeHead(const float* keys, const float* values, std::size_t stride, const ByteHead& head) {
    if (head.positions <= 0)
        return;
    allowedInstructionSet();
    const auto positions = static_cast<std::size_t>(head.positions);
    const auto width = static_cast<std::size_t>(head.width);
    // The values' place for centres holds the keys' until they are used.
    HWY_DYNAMIC_DISPATCH(quantizePart)
    (gathered(keys, stride, positions, width), width, positions, width, head.valueCentres(), head.keyScales(),
     head.keys(), head.keyFactors());
    HWY_DYNAMIC_DISPATCH(quantizePart)
    (gathered(values, stride, positions, width), width, positions, width, head.valueCentres(), head.valueScales(),
     head.values(), head.valueFactors());
}

} // namespace fenlo::whisper::kernels
#endif
