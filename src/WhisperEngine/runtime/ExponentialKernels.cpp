// Kernels that walk along one row and take exponentials. This file is compiled once for each instruction set.

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Kernels.h"

#include <algorithm>
#include <cmath>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/ExponentialKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

/// exp(x) for x <= 0, off by at most 2.5e-7 of its value; 0 below -87, where floats lose digits.
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
    return hn::IfThenElseZero(hn::Ge(x, hn::Set(floats, -87.0F)), hn::Mul(poly, power));
}

float sumOfExponentials(const float* values, std::size_t count, float subtrahend) {
    const Floats less = hn::Set(floats, subtrahend);
    Floats sums = hn::Zero(floats);
    forEach(values, count, -std::numeric_limits<float>::infinity(),
            [&](Floats v, std::size_t) { sums = hn::Add(sums, expOf(hn::Sub(v, less))); });
    return total(sums);
}

void softmaxRow(float* values, std::size_t count) {
    const Floats less = hn::Set(floats, largest(values, count));
    Floats sums = hn::Zero(floats);
    forEach(values, count, -std::numeric_limits<float>::infinity(), [&](Floats v, std::size_t at) {
        const Floats e = expOf(hn::Sub(v, less));
        sums = hn::Add(sums, e);
        store(e, values, at, count);
    });
    const Floats share = hn::Set(floats, 1.0F / total(sums));
    forEach(values, count, 0.0F, [&](Floats v, std::size_t at) { store(hn::Mul(v, share), values, at, count); });
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
    forEach(values, count, 0.0F, [&](Floats v, std::size_t at) { store(geluOf(v), values, at, count); });
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(largest);
HWY_EXPORT(sumOfExponentials);
HWY_EXPORT(softmaxRow);
HWY_EXPORT(geluRow);

std::size_t size(int count) {
    return static_cast<std::size_t>(std::max(count, 0));
}
} // namespace

void softmax(float* values, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(softmaxRow)(values, size(count));
}

void gelu(float* values, int count) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(geluRow)(values, size(count));
}

float logSumExp(const float* values, int count) {
    allowedInstructionSet();
    const float best = HWY_DYNAMIC_DISPATCH(largest)(values, size(count));
    if (std::isinf(best))
        return best;
    double sum = 0.0; // a whole vocabulary in one float would lose its last digits
    for (int from = 0; from < count; from += 1024)
        sum += HWY_DYNAMIC_DISPATCH(sumOfExponentials)(values + from, size(std::min(1024, count - from)), best);
    return static_cast<float>(best + std::log(sum));
}

} // namespace fenlo::whisper::kernels
#endif
