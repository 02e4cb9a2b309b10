#include "meeting/SpeakerIdentifier.h"

#include "audio/voice/PitchTrack.h"

#include <cmath>
#include <limits>

namespace fenlo {

namespace {

constexpr double pitchWeight = 0.5;
constexpr double centroidWeight = 0.25;
constexpr double mfccWeight = 0.25;
constexpr double pitchRange = 200.0;     // hertz
constexpr double centroidRange = 2000.0; // hertz
constexpr float bandRange = 5;           // of the logarithms
constexpr double matchThreshold = 0.5;   // a distance from here on opens a new speaker

constexpr double neutralPitch = 150.0;     // hertz, of a first speaker whose voice was not heard
constexpr double neutralCentroid = 1500.0; // hertz

/// A profile moves towards the chunk by three tenths.
template <typename Number>
Number moved(Number old, Number chunk) {
    return static_cast<Number>(0.7) * old + static_cast<Number>(0.3) * chunk;
}

double bandDistance(const BandProfile& one, const BandProfile& other) {
    float squares = 0;
    for (std::size_t band = 0; band < one.size(); ++band)
        squares += (one[band] - other[band]) * (one[band] - other[band]);
    return static_cast<double>(std::sqrt(squares / static_cast<float>(one.size()))) / bandRange;
}

} // namespace

Speaker SpeakerIdentifier::identify(std::span<const float> samples, double sampleRate) {
    const std::vector<float> levels = voice::frameLevels(samples);
    const auto features = m_features.extract(samples, levels, voice::framePitches(samples, levels));
    if (features)
        return matchSpeaker(m_bands.of(samples, sampleRate), features->pitchMedian, features->centroidMedian);
    if (!m_speakerProfiles.empty())
        return m_speakerProfiles.back().speaker;
    return createSpeaker({}, neutralPitch, neutralCentroid);
}

void SpeakerIdentifier::clear() {
    m_speakerProfiles.clear();
}

double SpeakerIdentifier::distance(const Profile& profile, const BandProfile& bands, double pitch, double centroid) {
    return std::abs(pitch - profile.pitchMedian) / pitchRange * pitchWeight +
           std::abs(centroid - profile.centroidMedian) / centroidRange * centroidWeight +
           bandDistance(bands, profile.bands) * mfccWeight;
}

Speaker SpeakerIdentifier::matchSpeaker(const BandProfile& bands, double pitch, double centroid) {
    Profile* best = nullptr;
    double bestDistance = std::numeric_limits<double>::infinity();
    for (Profile& profile : m_speakerProfiles)
        if (const double d = distance(profile, bands, pitch, centroid); d < bestDistance) {
            bestDistance = d;
            best = &profile;
        }
    if (!best || !(bestDistance < matchThreshold))
        return createSpeaker(bands, pitch, centroid);
    for (std::size_t band = 0; band < bands.size(); ++band)
        best->bands[band] = moved(best->bands[band], bands[band]);
    best->pitchMedian = moved(best->pitchMedian, pitch);
    best->centroidMedian = moved(best->centroidMedian, centroid);
    return best->speaker;
}

Speaker SpeakerIdentifier::createSpeaker(const BandProfile& bands, double pitch, double centroid) {
    const Speaker speaker = speakerAt(static_cast<int>(m_speakerProfiles.size()));
    m_speakerProfiles.push_back({speaker, pitch, centroid, bands});
    return speaker;
}

} // namespace fenlo
