#pragma once

#include "meeting/Speaker.h"
#include "meeting/SpeakerBands.h"

#include <vector>

namespace fenlo {

/// What tells one voice from another, of a chunk or of all chunks of a speaker so far.
struct VoiceTraits {
    double pitchMedian = 150.0;     // hertz
    double centroidMedian = 1500.0; // hertz
    BandProfile bands{};
};

inline constexpr double defaultMatchThreshold = 0.5;
/// Between what two sentences of one person differ by and what a man and a woman differ by; see docs/speakers.md.
inline constexpr double keenMatchThreshold = 0.2;

/// The speakers of a meeting by their voices.
class SpeakerProfiles {
public:
    /// A voice whose distance from all profiles is `matchThreshold` or more is a new speaker's.
    explicit SpeakerProfiles(double matchThreshold = defaultMatchThreshold) : m_matchThreshold(matchThreshold) {}

    /// The speaker whose voice is nearest, and whose profile moves a little towards the chunk; a new one where no voice
    /// is near.
    Speaker matchSpeaker(const VoiceTraits& chunk);
    /// The speaker of a chunk without a voice: the one who came last into the meeting, or a first one with a neutral
    /// profile.
    Speaker speakerOfSilence();
    void clear();

private:
    struct SpeakerProfile {
        Speaker speaker;
        VoiceTraits voice;
    };

    Speaker createSpeaker(const VoiceTraits& voice);

    double m_matchThreshold;
    std::vector<SpeakerProfile> m_speakerProfiles; // in the order in which the speakers came
};

} // namespace fenlo
