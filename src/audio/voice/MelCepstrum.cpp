#include "audio/voice/MelCepstrum.h"

#include "audio/voice/Frames.h"
#include "media/Level.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>

namespace fenlo::voice {

namespace {

constexpr std::size_t frameLength = 512; // samples
constexpr std::size_t frameHop = 256;
constexpr float leastPower = 1e-10F;

} // namespace

std::vector<std::vector<float>> melFilterbank(int filters, int fftSize, double rate) {
    const double nyquist = rate / 2;
    const int lastBin = fftSize / 2;
    const double melMax = 2595 * std::log10(1 + nyquist / 700);
    std::vector<int> bins;
    for (int point = 0; point < filters + 2; ++point) {
        const double mel = point * melMax / (filters + 1);
        const double hertz = (std::pow(10, mel / 2595) - 1) * 700;
        bins.push_back(static_cast<int>(hertz / nyquist * lastBin));
    }
    std::vector<std::vector<float>> bank;
    for (std::size_t filter = 0; filter + 2 < bins.size(); ++filter) {
        const int left = bins[filter], centre = bins[filter + 1], right = bins[filter + 2];
        std::vector<float>& weights = bank.emplace_back(static_cast<std::size_t>(lastBin) + 1);
        for (int bin = left; bin < std::min(right, lastBin + 1); ++bin)
            weights[static_cast<std::size_t>(bin)] =
                bin < centre ? static_cast<float>(bin - left) / static_cast<float>(centre - left)
                             : static_cast<float>(right - bin) / static_cast<float>(right - centre);
    }
    return bank;
}

MfccFinder::MfccFinder() : m_spectrum(frameLength) {
    for (const auto& filter : melFilterbank(bandCount, frameLength, sampleRate)) {
        const auto counts = [](float weight) { return weight != 0; };
        const auto first = std::ranges::find_if(filter, counts);
        const auto last = std::find_if(filter.rbegin(), std::make_reverse_iterator(first), counts).base();
        m_bands.push_back({static_cast<std::size_t>(first - filter.begin()), {first, last}});
    }
    for (std::size_t k = 0; k < mfccCount; ++k)
        for (std::size_t n = 0; n < bandCount; ++n)
            m_cosines[k][n] =
                std::cos(std::numbers::pi * static_cast<double>(k) * (static_cast<double>(n) + 0.5) / bandCount);
}

void MfccFinder::addFrame(std::span<const float> frame, Mfcc& sum) {
    const auto power = m_spectrum.of(frame);
    for (std::size_t n = 0; n < bandCount; ++n) {
        const Band& band = m_bands[n];
        const float value = std::inner_product(band.weights.begin(), band.weights.end(),
                                               power.begin() + static_cast<std::ptrdiff_t>(band.firstBin), 0.0F);
        const double logarithm = std::log(std::max(value, leastPower));
        for (std::size_t k = 0; k < mfccCount; ++k)
            sum[k] += logarithm * m_cosines[k][n];
    }
}

std::optional<Mfcc> MfccFinder::of(std::span<const float> samples) {
    Mfcc mean{};
    int frames = 0;
    forEachFrame(samples, frameLength, frameHop, [&](auto frame) {
        if (!(rms(frame) >= voiceLevel))
            return;
        addFrame(frame, mean);
        ++frames;
    });
    if (frames == 0)
        return {};
    for (double& coefficient : mean)
        coefficient /= frames;
    return mean;
}

std::optional<Mfcc> meanMFCC(std::span<const float> samples) {
    return MfccFinder().of(samples);
}

} // namespace fenlo::voice
