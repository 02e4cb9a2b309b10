#include "audio/voice/VoiceFeatures.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace fenlo::voice {

namespace {

template <typename Value>
Value interpolated(std::span<const Value> sorted, double p) {
    if (sorted.empty())
        return 0;
    const double position = static_cast<double>(sorted.size() - 1) * p / 100;
    const auto low = static_cast<std::size_t>(position);
    const std::size_t high = std::min(sorted.size() - 1, low + 1);
    const double fraction = position - static_cast<double>(low);
    return static_cast<Value>((1 - fraction) * sorted[low] + fraction * sorted[high]);
}

} // namespace

double percentile(std::span<const double> sorted, double p) {
    return interpolated(sorted, p);
}

float percentile(std::span<const float> sorted, double p) {
    return interpolated(sorted, p);
}

double cosineSimilarity(std::span<const double> a, std::span<const double> b) {
    if (a.size() != b.size())
        return 0;
    const auto dot = [](auto x, auto y) { return std::inner_product(x.begin(), x.end(), y.begin(), 0.0); };
    const double norms = std::sqrt(dot(a, a)) * std::sqrt(dot(b, b));
    return norms > 0 && std::isfinite(norms) ? dot(a, b) / norms : 0;
}

} // namespace fenlo::voice
