#include "audio/voice/SpectralCentroid.h"

#include "audio/voice/Frames.h"
#include "media/Level.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace fenlo::voice {

namespace {
constexpr std::size_t centroidFrame = 1024; // samples
constexpr std::size_t centroidHop = 512;
} // namespace

CentroidFinder::CentroidFinder() : m_spectrum(centroidFrame) {
    for (std::size_t i = 0; i <= centroidFrame / 2; ++i)
        m_frequencies.push_back(static_cast<float>(static_cast<double>(i) * sampleRate / centroidFrame));
}

Centroid CentroidFinder::of(std::span<const float> samples) {
    m_centroids.clear();
    forEachFrame(samples, centroidFrame, centroidHop, [this](auto frame) {
        if (!(rms(frame) >= voiceLevel))
            return;
        const auto power = m_spectrum.of(frame);
        const float weighted = std::inner_product(power.begin(), power.end(), m_frequencies.begin(), 0.0F);
        const float total = std::accumulate(power.begin(), power.end(), 0.0F);
        if (total > 0)
            m_centroids.push_back(weighted / total);
    });
    if (m_centroids.empty())
        return {};
    std::ranges::sort(m_centroids);
    const auto count = static_cast<double>(m_centroids.size());
    const double mean = std::accumulate(m_centroids.begin(), m_centroids.end(), 0.0) / count;
    double squares = 0;
    for (const double centroid : m_centroids)
        squares += (centroid - mean) * (centroid - mean);
    return {percentile(m_centroids, 50), std::sqrt(squares / count)};
}

Centroid spectralCentroid(std::span<const float> samples) {
    return CentroidFinder().of(samples);
}

} // namespace fenlo::voice
