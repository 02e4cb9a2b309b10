#pragma once

#include "audio/voice/FeatureExtractor.h"
#include "meeting/Speaker.h"
#include "meeting/SpeakerBands.h"

#include <span>
#include <vector>

namespace fenlo {

/// Tells by their voices who speaks in the chunks of a meeting: by pitch, spectral centroid and the power in 13 bands.
/// Nobody enrols; who is first heard becomes "Speaker 1". A chunk has one speaker, and each chunk moves the speaker's
/// profile a little towards itself. Chunks without a voice go to the speaker who came last into the meeting.
///
/// Threads: one at a time.
/// Units:   mono samples in [-1, 1]; pitch and centroid are measured as of 16000 Hz.
class SpeakerIdentifier {
public:
    Speaker identify(std::span<const float> samples, double sampleRate);
    /// Forgets all speakers.
    void clear();

private:
    struct Profile {
        Speaker speaker;
        double pitchMedian = 0;    // hertz
        double centroidMedian = 0; // hertz
        BandProfile bands{};
    };

    static double distance(const Profile& profile, const BandProfile& bands, double pitch, double centroid);
    Speaker matchSpeaker(const BandProfile& bands, double pitch, double centroid);
    Speaker createSpeaker(const BandProfile& bands, double pitch, double centroid);

    voice::FeatureExtractor m_features;
    SpeakerBands m_bands;
    std::vector<Profile> m_speakerProfiles; // in the order in which the speakers came
};

} // namespace fenlo
