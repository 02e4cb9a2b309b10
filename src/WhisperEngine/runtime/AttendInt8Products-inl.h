// What attention in 8 bits multiplies with, in each of its instruction sets.

#if defined(FENLO_ATTEND_INT8_PRODUCTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef FENLO_ATTEND_INT8_PRODUCTS_INL_H
#undef FENLO_ATTEND_INT8_PRODUCTS_INL_H
#else
#define FENLO_ATTEND_INT8_PRODUCTS_INL_H
#endif

#include "WhisperEngine/runtime/RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

const hn::RebindToSigned<decltype(floats)> ints;
using Ints = hn::Vec<decltype(ints)>;

/// Values of 16 bits in pairs, for every processor: exact, since a pair's sum is one of 32 bits.
struct Pairs {
    using Unsigned = std::int16_t;
    using Signed = std::int16_t;
    static constexpr std::size_t perLane = 2;
    static HWY_INLINE Ints dot(Ints sum, Ints left, Ints right) {
#if HWY_TARGET == HWY_SCALAR
        const auto low = [](Ints pair) { return hn::ShiftRight<16>(hn::ShiftLeft<16>(pair)); };
        const auto high = [](Ints pair) { return hn::ShiftRight<16>(pair); };
        return hn::Add(sum, hn::Add(hn::Mul(low(left), low(right)), hn::Mul(high(left), high(right))));
#else
        const hn::Repartition<std::int16_t, decltype(floats)> shorts;
        Ints odd = hn::Zero(ints); // Highway adds the odd products here where the processor has no sum of pairs
        sum = hn::ReorderWidenMulAccumulate(ints, hn::BitCast(shorts, left), hn::BitCast(shorts, right), sum, odd);
        return hn::Add(sum, odd);
#endif
    }
};

#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2
/// Four 8-bit values at a time, where the processor has AVX512-VNNI or AVX-VNNI. Highway has no such product, and its
/// vectors for such processors ask for more than many of them have; the assembler needs no leave.
struct Quads {
    using Unsigned = std::uint8_t;
    using Signed = std::int8_t;
    static constexpr std::size_t perLane = 4;
    static HWY_INLINE Ints dot(Ints sum, Ints left, Ints right) {
#if HWY_TARGET == HWY_AVX3
        __asm__("vpdpbusd %2, %1, %0" : "+v"(sum.raw) : "v"(left.raw), "v"(right.raw));
#else
        __asm__("%{vex%} vpdpbusd %2, %1, %0" : "+x"(sum.raw) : "x"(left.raw), "x"(right.raw));
#endif
        return sum;
    }
};
#else
using Quads = Pairs;
#endif

#if HWY_TARGET == HWY_AVX3
/// The same values in the processor's tiles.
struct Tiles : Quads {};
#else
using Tiles = Quads;
#endif

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
