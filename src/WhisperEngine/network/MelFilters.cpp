#include "WhisperEngine/network/MelFilters.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace fenlo::whisper::mel {

namespace {

// The scale is linear up to a kilohertz and logarithmic above.
constexpr double hertzPerMel = 200.0 / 3.0;
constexpr double logStart = 1000.0; // hertz
constexpr double logStartMel = logStart / hertzPerMel;
const double logStep = std::log(6.4) / 27.0;

double melOfHertz(double hertz) {
    return hertz < logStart ? hertz / hertzPerMel : logStartMel + std::log(hertz / logStart) / logStep;
}

double hertzOfMel(double mel) {
    return mel < logStartMel ? mel * hertzPerMel : logStart * std::exp(logStep * (mel - logStartMel));
}

} // namespace

std::vector<float> hannWindow() {
    std::vector<float> window(fftSize);
    for (int i = 0; i < fftSize; ++i)
        window[static_cast<std::size_t>(i)] =
            static_cast<float>(0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * i / fftSize));
    return window;
}

std::vector<float> filters(int bands) {
    const double highest = melOfHertz(sampleRate / 2.0);
    const auto corner = [&](int i) { return hertzOfMel(highest * i / (bands + 1)); };
    std::vector<float> weights(static_cast<std::size_t>(bands) * bins);
    for (int band = 0; band < bands; ++band) {
        const double left = corner(band), middle = corner(band + 1), right = corner(band + 2);
        for (int bin = 0; bin < bins; ++bin) {
            const double hertz = static_cast<double>(bin) * sampleRate / fftSize;
            const double height = std::min((hertz - left) / (middle - left), (right - hertz) / (right - middle));
            weights[static_cast<std::size_t>(band) * bins + static_cast<std::size_t>(bin)] =
                static_cast<float>(std::max(0.0, height) * 2.0 / (right - left));
        }
    }
    return weights;
}

} // namespace fenlo::whisper::mel
