#include "audio/voice/FeatureExtractor.h"

#include "audio/voice/PitchTrack.h"

#include <algorithm>
#include <cmath>

namespace fenlo::voice {

namespace {

constexpr double genderBoundary = 160; // hertz
constexpr double certainDistance = 60; // hertz from the boundary
constexpr std::size_t leastVoicedPitches = 2;

Gender genderOf(double pitchMedian) {
    return {pitchMedian < genderBoundary ? "male" : "female",
            std::min(std::abs(pitchMedian - genderBoundary) / certainDistance, 1.0)};
}

} // namespace

Gender genderFrom(std::vector<double> pitches) {
    std::ranges::sort(pitches);
    return genderOf(percentile(pitches, 50));
}

std::optional<CompactFeatures> FeatureExtractor::extract(std::span<const float> samples, std::span<const float> levels,
                                                         std::span<const double> pitches) {
    std::vector<double> voicedPitches = voiced(pitches);
    if (voicedPitches.size() < leastVoicedPitches)
        return {};
    std::ranges::sort(voicedPitches);
    std::vector<float> energies = audible(levels);
    std::ranges::sort(energies);

    CompactFeatures features;
    features.pitchMedian = percentile(voicedPitches, 50);
    features.gender = genderOf(features.pitchMedian).gender;
    features.energyMedian = percentile(energies, 50);
    features.centroidMedian = m_centroid.of(samples).median;
    features.mfccMean = m_mfcc.of(samples);
    return features;
}

std::optional<CompactFeatures> compactFeatures(std::span<const float> samples) {
    const std::vector<float> levels = frameLevels(samples);
    return FeatureExtractor().extract(samples, levels, framePitches(samples, levels));
}

} // namespace fenlo::voice
