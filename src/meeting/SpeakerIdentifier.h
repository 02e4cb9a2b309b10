#pragma once

#include "audio/voice/FeatureExtractor.h"
#include "meeting/SpeakerBands.h"
#include "meeting/SpeakerProfiles.h"

#include <span>

namespace fenlo {

/// Tells by their voices who speaks in the chunks of a meeting: by pitch, spectral centroid and the power in 13 bands.
/// Nobody enrols; who is first heard becomes "Speaker 1". A chunk has one speaker. How well it works is told in
/// docs/speakers.md.
///
/// Threads: one at a time. A chunk of ten seconds takes more than ten milliseconds, so not the main one.
/// Units:   mono samples in [-1, 1]; pitch and centroid are measured as of 16000 hertz.
class SpeakerIdentifier {
public:
    explicit SpeakerIdentifier(double matchThreshold = defaultMatchThreshold) : m_speakers(matchThreshold) {}

    Speaker identify(std::span<const float> samples, double sampleRate);
    /// Forgets all speakers.
    void clear() { m_speakers.clear(); }

private:
    voice::FeatureExtractor m_features;
    SpeakerBands m_bands;
    SpeakerProfiles m_speakers;
};

} // namespace fenlo
