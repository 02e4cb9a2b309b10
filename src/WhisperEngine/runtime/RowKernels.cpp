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

/// `part(v)` is what of a vector is quantised.
template <class Part>
HWY_INLINE float quantizePartOf(const float* src, std::int8_t* dst, std::size_t count, const Part& part) {
    Floats found = hn::Zero(floats);
    forEach(src, count, 0.0F, [&](Floats v, std::size_t, std::size_t) { found = hn::Max(found, hn::Abs(part(v))); });
    const float widest = hn::GetLane(hn::MaxOfLanes(floats, found));
    const float toInteger = widest > 0.0F ? 127.0F / widest : 0.0F;
    if (toInteger == 0.0F || toInteger > std::numeric_limits<float>::max()) {
        for (std::size_t i = 0; i < count; ++i)
            dst[i] = 0;
        return 0.0F;
    }
    const hn::Rebind<std::int8_t, decltype(floats)> bytes;
    const Floats factor = hn::Set(floats, toInteger);
    forEach(src, count, 0.0F, [&](Floats v, std::size_t at, std::size_t) {
        const auto narrow = hn::DemoteTo(bytes, hn::NearestInt(hn::Mul(part(v), factor)));
        if (at + hn::Lanes(floats) <= count)
            return hn::StoreU(narrow, bytes, dst + at);
        std::int8_t rest[hn::MaxLanes(floats)];
        hn::StoreU(narrow, bytes, rest);
        for (std::size_t j = at; j < count; ++j)
            dst[j] = rest[j - at];
    });
    return widest / 127.0F;
}

float quantizeRow(const float* src, std::int8_t* dst, std::size_t count) {
    return quantizePartOf(src, dst, count, [](Floats v) { return v; });
}

/// Zeros in place of what is as wide as `limit` or wider.
float quantizeBelow(const float* src, std::int8_t* dst, std::size_t count, float limit) {
    const Floats most = hn::Set(floats, limit);
    return quantizePartOf(src, dst, count,
                          [most](Floats v) { return hn::IfThenZeroElse(hn::Ge(hn::Abs(v), most), v); });
}

std::size_t countWide(const std::int8_t* values, std::size_t count) {
    const hn::ScalableTag<std::int8_t> bytes;
    const auto most = hn::Set(bytes, 63), least = hn::Set(bytes, -63);
    const std::size_t lanes = hn::Lanes(bytes);
    std::size_t found = 0;
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes) {
        const auto v = hn::LoadU(bytes, values + i);
        found += hn::CountTrue(bytes, hn::Or(hn::Gt(v, most), hn::Lt(v, least)));
    }
    for (; i < count; ++i)
        found += isWide(values[i]) ? 1 : 0;
    return found;
}

void normalizeRow(const float* src, const float* gain, const float* shift, float* dst, std::size_t count) {
    Sums sums;
    forEach(src, count, 0.0F,
            [&sums](Floats v, std::size_t, std::size_t i) { sums.part[i] = hn::Add(sums.part[i], v); });
    const float middle = total(sums) / static_cast<float>(count);
    const Floats mean = hn::Set(floats, middle);
    Sums squares;
    forEach(src, count, middle, [&squares, mean](Floats v, std::size_t, std::size_t i) {
        const Floats off = hn::Sub(v, mean);
        squares.part[i] = hn::MulAdd(off, off, squares.part[i]);
    });
    const float scale = 1.0F / std::sqrt(total(squares) / static_cast<float>(count) + 1e-5F);
    forColumns(count, [=](auto tag, std::size_t at) {
        const auto off = hn::Sub(hn::LoadU(tag, src + at), hn::Set(tag, middle));
        const auto unit = hn::Mul(off, hn::Set(tag, scale));
        hn::StoreU(hn::MulAdd(unit, hn::LoadU(tag, gain + at), hn::LoadU(tag, shift + at)), tag, dst + at);
    });
}

void addRow(float* dst, const float* src, std::size_t count) {
    forColumns(count, [=](auto tag, std::size_t at) {
        hn::StoreU(hn::Add(hn::LoadU(tag, dst + at), hn::LoadU(tag, src + at)), tag, dst + at);
    });
}

/// exp(x) for x <= 0, off by at most 2.5e-7 of its value; 0 below -87, where floats lose digits; NaN for NaN.
///
/// x = n ln 2 + r, so exp(x) = 2^n exp(r) with |r| <= ln 2 / 2. The polynomial is the one of its degree with value and
/// slope 1 at zero whose largest relative error there is the least: 1.05e-7.
HWY_INLINE Floats expOf(Floats x) {
    const hn::RebindToSigned<decltype(floats)> ints;
    const auto n = hn::NearestInt(hn::Mul(x, hn::Set(floats, 1.44269504F)));
    const Floats whole = hn::ConvertTo(floats, n);
    // ln 2 in two parts, the first of few digits, so that its multiples are exact.
    Floats r = hn::NegMulAdd(whole, hn::Set(floats, 0.693145752F), x);
    r = hn::NegMulAdd(whole, hn::Set(floats, 1.42860677e-6F), r);
    Floats poly = hn::Set(floats, 0.008312501944601536F);
    poly = hn::MulAdd(poly, r, hn::Set(floats, 0.041890330612659454F));
    poly = hn::MulAdd(poly, r, hn::Set(floats, 0.16667115688323975F));
    poly = hn::MulAdd(poly, r, hn::Set(floats, 0.499992311000824F));
    poly = hn::MulAdd(poly, r, hn::Set(floats, 1.0F));
    poly = hn::MulAdd(poly, r, hn::Set(floats, 1.0F));
    const Floats power = hn::BitCast(floats, hn::ShiftLeft<23>(hn::Add(n, hn::Set(ints, 127))));
    return hn::IfThenZeroElse(hn::Lt(x, hn::Set(floats, -87.0F)), hn::Mul(poly, power));
}

/// By comparisons, which leave a NaN out; a processor's own maximum may keep it.
float largestOf(const float* values, std::size_t count) {
    Floats found = hn::Set(floats, -std::numeric_limits<float>::infinity());
    forEach(values, count, -std::numeric_limits<float>::infinity(),
            [&found](Floats v, std::size_t, std::size_t) { found = hn::IfThenElse(hn::Gt(v, found), v, found); });
    return hn::GetLane(hn::MaxOfLanes(floats, found));
}

float sumOfExponentials(const float* values, std::size_t count, float subtrahend) {
    const Floats less = hn::Set(floats, subtrahend);
    Sums sums;
    forEach(values, count, -std::numeric_limits<float>::infinity(), [&](Floats v, std::size_t, std::size_t i) {
        sums.part[i] = hn::Add(sums.part[i], expOf(hn::Sub(v, less)));
    });
    return total(sums);
}

void softmaxRow(float* values, std::size_t count) {
    const Floats less = hn::Set(floats, largestOf(values, count));
    Sums sums;
    forEach(values, count, -std::numeric_limits<float>::infinity(), [&](Floats v, std::size_t at, std::size_t i) {
        const Floats e = expOf(hn::Sub(v, less));
        sums.part[i] = hn::Add(sums.part[i], e);
        store(e, values, at, count);
    });
    const Floats share = hn::Set(floats, 1.0F / total(sums));
    forEach(values, count, 0.0F,
            [&](Floats v, std::size_t at, std::size_t) { store(hn::Mul(v, share), values, at, count); });
}

/// x / 2 * erfc(-x / sqrt 2), with erfc(z) = (a1 t + ... + a5 t^5) exp(-z z), t = 1 / (1 + p z) for z >= 0. Abramowitz
/// and Stegun, Handbook of Mathematical Functions, 7.1.26: off by at most 1.5e-7. The function's other half is 2 -
/// erfc.
HWY_INLINE Floats geluOf(Floats x) {
    const Floats z = hn::Mul(hn::Abs(x), hn::Set(floats, 0.70710678F));
    const Floats one = hn::Set(floats, 1.0F);
    const Floats t = hn::Div(one, hn::MulAdd(hn::Set(floats, 0.3275911F), z, one));
    Floats poly = hn::Set(floats, 1.061405429F);
    poly = hn::MulAdd(poly, t, hn::Set(floats, -1.453152027F));
    poly = hn::MulAdd(poly, t, hn::Set(floats, 1.421413741F));
    poly = hn::MulAdd(poly, t, hn::Set(floats, -0.284496736F));
    poly = hn::MulAdd(poly, t, hn::Set(floats, 0.254829592F));
    const Floats half = hn::Mul(hn::Set(floats, 0.5F), hn::Mul(x, hn::Mul(poly, t)));
    const Floats tail = hn::Mul(half, expOf(hn::Neg(hn::Mul(z, z))));
    return hn::IfThenElse(hn::Lt(x, hn::Zero(floats)), tail, hn::Sub(x, tail));
}

void geluRow(float* values, std::size_t count) {
    forEach(values, count, 0.0F, [&](Floats v, std::size_t at, std::size_t) { store(geluOf(v), values, at, count); });
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(quantizeRow);
HWY_EXPORT(quantizeBelow);
HWY_EXPORT(countWide);
HWY_EXPORT(normalizeRow);
HWY_EXPORT(addRow);
HWY_EXPORT(largestOf);
HWY_EXPORT(sumOfExponentials);
HWY_EXPORT(softmaxRow);
HWY_EXPORT(geluRow);

std::size_t size(int count) {
    return static_cast<std::size_t>(std::max(count, 0));
}
} // namespace

float quantize(const float* src, std::int8_t* dst, int count) {
    allowedInstructionSet();
    return HWY_DYNAMIC_DISPATCH(quantizeRow)(src, dst, size(count));
}

float quantize(const float* src, std::int8_t* dst, int count, WideChannels& wide) {
    float scale = quantize(src, dst, count);
    float limit = std::numeric_limits<float>::infinity();
    for (wide.count = 0;;) {
        const std::size_t found = HWY_DYNAMIC_DISPATCH(countWide)(dst, size(count));
        if (found == 0 || found > size(std::min(wideAtOnce(count), WideChannels::most - wide.count)))
            return scale;
        for (int i = 0; i < count; ++i)
            if (isWide(dst[i])) {
                wide.channels[wide.count] = i;
                wide.values[wide.count++] = src[i];
                limit = std::min(limit, std::fabs(src[i])); // a wider value has no smaller number
            }
        scale = HWY_DYNAMIC_DISPATCH(quantizeBelow)(src, dst, size(count), limit);
    }
}

void layerNorm(const float* src, const float* gain, const float* shift, float* dst, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(normalizeRow)(src, gain, shift, dst, size(count));
}

void add(float* dst, const float* src, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(addRow)(dst, src, size(count));
}

float largest(const float* values, int count) {
    allowedInstructionSet();
    return HWY_DYNAMIC_DISPATCH(largestOf)(values, size(count));
}

float logSumExp(const float* values, int count, float maximum) {
    if (std::isinf(maximum))
        return maximum;
    allowedInstructionSet();
    double sum = 0.0; // a whole vocabulary in one float would lose its last digits
    for (int from = 0; from < count; from += 1024)
        sum += HWY_DYNAMIC_DISPATCH(sumOfExponentials)(values + from, size(std::min(1024, count - from)), maximum);
    return static_cast<float>(maximum + std::log(sum));
}

void softmax(float* values, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(softmaxRow)(values, size(count));
}

void gelu(float* values, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(geluRow)(values, size(count));
}

} // namespace fenlo::whisper::kernels
#endif
