#include "meeting/SpeakerBands.h"

#include "audio/voice/Frames.h"
#include "media/Level.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace fenlo {

namespace {

constexpr std::size_t bandFrame = 1024; // samples
constexpr std::size_t bandHop = 512;
constexpr std::size_t lastBin = bandFrame / 2 - 1;
constexpr double leastBandPower = 1e-10;
constexpr std::array<double, speakerBandCount + 1> bandEdges = {0,    100,  200,  350,  530,  750,  1000,
                                                                1400, 1850, 2400, 3100, 4000, 5200, 6800}; // hertz

/// The values of the spectrum that a band takes, both ends included.
struct Bins {
    std::size_t first;
    std::size_t last;
    bool isSkipped;
};

Bins binsOf(std::size_t band, double sampleRate) {
    const double width = sampleRate / bandFrame;
    const auto lower = static_cast<std::size_t>(bandEdges[band] / width);
    const auto upper = static_cast<std::size_t>(bandEdges[band + 1] / width);
    const std::size_t first = std::max<std::size_t>(lower, 1);
    if (upper >= lastBin)
        return {first, lastBin, lower >= lastBin};
    return {first, upper, first >= upper};
}

float meanOf(std::span<const float> power, const Bins& bins) {
    const auto band = power.subspan(bins.first, bins.last - bins.first + 1);
    return std::accumulate(band.begin(), band.end(), 0.0F) / static_cast<float>(band.size());
}

} // namespace

SpeakerBands::SpeakerBands() : m_spectrum(bandFrame) {}

BandProfile SpeakerBands::of(std::span<const float> samples, double sampleRate) {
    std::array<Bins, speakerBandCount> bins{};
    for (std::size_t band = 0; band < bins.size(); ++band)
        bins[band] = binsOf(band, sampleRate);
    std::array<double, speakerBandCount> sums{};
    std::size_t frames = 0;
    voice::forEachFrame(samples, bandFrame, bandHop, [&](std::span<const float> frame) {
        if (!(rms(frame) >= voice::voiceLevel))
            return;
        const auto power = m_spectrum.of(frame);
        for (std::size_t band = 0; band < bins.size(); ++band)
            if (!bins[band].isSkipped)
                sums[band] += meanOf(power, bins[band]);
        ++frames;
    });

    BandProfile profile{};
    if (frames == 0)
        return profile;
    std::ranges::transform(sums, profile.begin(), [frames](double sum) {
        return static_cast<float>(std::log(std::max(sum / static_cast<double>(frames), leastBandPower)));
    });
    return profile;
}

} // namespace fenlo
