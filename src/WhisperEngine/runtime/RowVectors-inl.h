// What the kernels share, in each of their instruction sets.

#if defined(FENLO_ROW_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef FENLO_ROW_VECTORS_INL_H
#undef FENLO_ROW_VECTORS_INL_H
#else
#define FENLO_ROW_VECTORS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

const hn::ScalableTag<float> floats;
using Floats = hn::Vec<decltype(floats)>;

/// What is added up along a row is added up in sixteen lanes and joined in one order, whatever the width of a vector:
/// all instruction sets that multiply and add in one step (from AVX2 up) give the same bits. The narrower ones round
/// twice.
constexpr std::size_t sumLanes = 16;
constexpr std::size_t sumVectors = sumLanes / hn::MaxLanes(floats);

/// Calls `each(vector, at, which)` for the row's vectors, sixteen lanes at a time, the last ones filled up with
/// `filler`. `which` is the vector's place in the sixteen lanes.
template <class Each>
HWY_INLINE void forEach(const float* src, std::size_t count, float filler, const Each& each) {
    const std::size_t lanes = hn::Lanes(floats);
    const auto sixteen = [&](const float* from, std::size_t at) {
#pragma GCC unroll 4
        for (std::size_t which = 0; which < sumVectors; ++which)
            each(hn::LoadU(floats, from + which * lanes), at + which * lanes, which);
    };
    std::size_t i = 0;
    for (; i + sumLanes <= count; i += sumLanes)
        sixteen(src + i, i);
    if (i < count) {
        HWY_ALIGN float rest[sumLanes];
        for (std::size_t j = 0; j < sumLanes; ++j)
            rest[j] = i + j < count ? src[i + j] : filler;
        sixteen(rest, i);
    }
}

/// Calls `each(tag, at)` for the vectors of a row, and for the rest one by one: the same operations for each number.
template <class Each>
HWY_INLINE void forColumns(std::size_t width, const Each& each) {
    std::size_t at = 0;
    for (; at + hn::Lanes(floats) <= width; at += hn::Lanes(floats))
        each(floats, at);
    for (; at < width; ++at)
        each(hn::CappedTag<float, 1>(), at);
}

HWY_INLINE void store(Floats value, float* dst, std::size_t at, std::size_t count) {
    if (at + hn::Lanes(floats) <= count)
        return hn::StoreU(value, floats, dst + at);
    if (at >= count)
        return;
    HWY_ALIGN float rest[hn::MaxLanes(floats)];
    hn::Store(value, floats, rest);
    for (std::size_t j = at; j < count; ++j)
        dst[j] = rest[j - at];
}

/// Sixteen lanes of sums.
struct Sums {
    Floats part[sumVectors];

    HWY_INLINE Sums() {
#pragma GCC unroll 16
        for (Floats& sum : part)
            sum = hn::Zero(floats);
    }
    HWY_INLINE void add(const Sums& others) {
#pragma GCC unroll 16
        for (std::size_t i = 0; i < sumVectors; ++i)
            part[i] = hn::Add(part[i], others.part[i]);
    }
};

/// One half of the lanes is added to the other, down to four of them, which every vector joins alike.
HWY_INLINE float total(Sums sums) {
#pragma GCC unroll 4
    for (std::size_t half = sumVectors / 2; half > 0; half /= 2)
#pragma GCC unroll 8
        for (std::size_t i = 0; i < half; ++i)
            sums.part[i] = hn::Add(sums.part[i], sums.part[i + half]);
#if HWY_TARGET == HWY_AVX3
    const hn::Half<decltype(floats)> eight;
    const auto halves = hn::Add(hn::LowerHalf(eight, sums.part[0]), hn::UpperHalf(eight, sums.part[0]));
    return hn::GetLane(hn::SumOfLanes(eight, halves));
#else
    return hn::GetLane(hn::SumOfLanes(floats, sums.part[0]));
#endif
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
