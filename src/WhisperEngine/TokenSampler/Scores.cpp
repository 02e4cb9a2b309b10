#include "WhisperEngine/TokenSampler/Scores.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace fenlo::whisper {

namespace {

constexpr std::size_t laneCount = 16; // four vectors of four: enough sums under way to hide the latency of one
constexpr std::size_t blockSize = 128;

constexpr float lowest = -87.0F; // e to the power of it is close to the smallest normal number

/// A step of its own, since a compiler that sees it together with the exponential makes a branch of it.
inline float atLeastLowest(float x) {
    return x < lowest ? lowest : x;
}

/// e to the x for x from `lowest` to 0, within two units in the last place, or NaN for NaN. The argument is split into
/// n ln 2 + r, |r| <= ln 2 / 2, and e to the r is a minimax polynomial of degree seven.
inline float expOfNegative(float x) {
    constexpr float roundToInteger = 12582912.0F; // 1.5 * 2^23: adding it rounds, and leaves n in the low bits
    constexpr float log2OfE = 1.44269504F;
    constexpr float ln2High = 0.693359375F; // exact in few bits, so that n times it is exact
    constexpr float ln2Low = -2.12194440e-4F;

    const float shifted = x * log2OfE + roundToInteger;
    const float n = shifted - roundToInteger;
    const float r = (x - n * ln2High) - n * ln2Low;
    float polynomial = 1.9875691500e-4F;
    polynomial = polynomial * r + 1.3981999507e-3F;
    polynomial = polynomial * r + 8.3334519073e-3F;
    polynomial = polynomial * r + 4.1665795894e-2F;
    polynomial = polynomial * r + 1.6666665459e-1F;
    polynomial = polynomial * r + 5.0000001201e-1F;
    polynomial = polynomial * r * r + r + 1.0F;
    const std::uint32_t exponent = std::bit_cast<std::uint32_t>(shifted) - std::bit_cast<std::uint32_t>(roundToInteger);
    return polynomial * std::bit_cast<float>((exponent + 127U) << 23U);
}

} // namespace

void forbid(std::span<float> logits, int first, int last) {
    const auto size = static_cast<int>(logits.size());
    const int from = std::clamp(first, 0, size);
    const int to = std::clamp(last, from, size);
    std::fill(logits.begin() + from, logits.begin() + to, forbiddenScore);
}

float maximumScore(std::span<const float> logits) {
    std::array<float, laneCount> lanes;
    lanes.fill(forbiddenScore);
    std::size_t at = 0;
    for (; at + laneCount <= logits.size(); at += laneCount)
        for (std::size_t lane = 0; lane < laneCount; ++lane)
            lanes[lane] = logits[at + lane] > lanes[lane] ? logits[at + lane] : lanes[lane];
    float maximum = forbiddenScore;
    for (; at < logits.size(); ++at)
        maximum = logits[at] > maximum ? logits[at] : maximum;
    return std::max(maximum, *std::max_element(lanes.begin(), lanes.end()));
}

float logSumExp(std::span<const float> logits, float maximum) {
    if (maximum == forbiddenScore)
        return forbiddenScore;
    std::array<float, laneCount> lanes{};
    std::array<float, blockSize> block;
    std::size_t at = 0;
    for (; at + blockSize <= logits.size(); at += blockSize) {
        for (std::size_t i = 0; i < blockSize; ++i)
            block[i] = atLeastLowest(logits[at + i] - maximum);
        for (std::size_t i = 0; i < blockSize; ++i)
            block[i] = expOfNegative(block[i]);
        for (std::size_t i = 0; i < blockSize; ++i)
            lanes[i % laneCount] += block[i];
    }
    float sum = 0;
    for (; at < logits.size(); ++at)
        sum += expOfNegative(atLeastLowest(logits[at] - maximum));
    for (const float lane : lanes)
        sum += lane;
    return maximum + std::log(sum);
}

float probabilityOf(int token, std::span<const float> logits, float logSum) {
    return std::exp(logits[static_cast<std::size_t>(token)] - logSum);
}

} // namespace fenlo::whisper
