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

/// Calls `each(vector, at)` for the row's vectors, the last one filled up with `filler`.
template <class Each>
HWY_INLINE void forEach(const float* src, std::size_t count, float filler, const Each& each) {
    const std::size_t lanes = hn::Lanes(floats);
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes)
        each(hn::LoadU(floats, src + i), i);
    if (i < count) {
        HWY_ALIGN float rest[hn::MaxLanes(floats)];
        hn::Store(hn::Set(floats, filler), floats, rest);
        for (std::size_t j = i; j < count; ++j)
            rest[j - i] = src[j];
        each(hn::Load(floats, rest), i);
    }
}

HWY_INLINE void store(Floats value, float* dst, std::size_t at, std::size_t count) {
    if (at + hn::Lanes(floats) <= count)
        return hn::StoreU(value, floats, dst + at);
    HWY_ALIGN float rest[hn::MaxLanes(floats)];
    hn::Store(value, floats, rest);
    for (std::size_t j = at; j < count; ++j)
        dst[j] = rest[j - at];
}

HWY_INLINE float total(Floats sums) {
    return hn::GetLane(hn::SumOfLanes(floats, sums));
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
