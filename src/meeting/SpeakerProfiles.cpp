#include "meeting/SpeakerProfiles.h"

#include <cmath>
#include <limits>

namespace fenlo {

namespace {

constexpr double pitchWeight = 0.5;
constexpr double centroidWeight = 0.25;
constexpr double mfccWeight = 0.25;
constexpr double pitchRange = 200.0;     // hertz
constexpr double centroidRange = 2000.0; // hertz
constexpr double bandRange = 5.0;        // of the logarithms

double bandTerm(const BandProfile& one, const BandProfile& other) {
    float squares = 0;
    for (std::size_t band = 0; band < one.size(); ++band)
        squares += (one[band] - other[band]) * (one[band] - other[band]);
    return static_cast<double>(std::sqrt(squares / static_cast<float>(one.size()))) / bandRange;
}

double distance(const VoiceTraits& one, const VoiceTraits& other) {
    return std::abs(one.pitchMedian - other.pitchMedian) / pitchRange * pitchWeight +
           std::abs(one.centroidMedian - other.centroidMedian) / centroidRange * centroidWeight +
           bandTerm(one.bands, other.bands) * mfccWeight;
}

template <typename Number>
void move(Number& running, Number towards) {
    running = static_cast<Number>(0.7) * running + static_cast<Number>(0.3) * towards;
}

} // namespace

Speaker SpeakerProfiles::matchSpeaker(const VoiceTraits& chunk) {
    SpeakerProfile* best = nullptr;
    double bestDistance = std::numeric_limits<double>::infinity();
    for (SpeakerProfile& profile : m_speakerProfiles)
        if (const double d = distance(chunk, profile.voice); d < bestDistance) {
            bestDistance = d;
            best = &profile;
        }
    if (!(bestDistance < m_matchThreshold))
        return createSpeaker(chunk);
    for (std::size_t band = 0; band < chunk.bands.size(); ++band)
        move(best->voice.bands[band], chunk.bands[band]);
    move(best->voice.pitchMedian, chunk.pitchMedian);
    move(best->voice.centroidMedian, chunk.centroidMedian);
    return best->speaker;
}

Speaker SpeakerProfiles::speakerOfSilence() {
    return m_speakerProfiles.empty() ? createSpeaker({}) : m_speakerProfiles.back().speaker;
}

void SpeakerProfiles::clear() {
    m_speakerProfiles.clear();
}

Speaker SpeakerProfiles::createSpeaker(const VoiceTraits& voice) {
    Speaker speaker = speakerAt(static_cast<int>(m_speakerProfiles.size()));
    m_speakerProfiles.push_back({speaker, voice});
    return speaker;
}

} // namespace fenlo
