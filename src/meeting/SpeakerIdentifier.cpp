#include "meeting/SpeakerIdentifier.h"

#include "audio/voice/PitchTrack.h"

#include <vector>

namespace fenlo {

Speaker SpeakerIdentifier::identify(std::span<const float> samples, double sampleRate) {
    const std::vector<float> levels = voice::frameLevels(samples);
    const auto features = m_features.extract(samples, levels, voice::framePitches(samples, levels));
    if (!features)
        return m_speakers.speakerOfSilence();
    return m_speakers.matchSpeaker({features->pitchMedian, features->centroidMedian, m_bands.of(samples, sampleRate)});
}

} // namespace fenlo
