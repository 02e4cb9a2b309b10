#pragma once

#include "audio/voice/MelCepstrum.h"
#include "audio/voice/SpectralCentroid.h"
#include "audio/voice/VoiceFeatures.h"

#include <optional>
#include <span>

namespace fenlo::voice {

/// compactFeatures() for many stretches of speech, with memory that is used again.
class FeatureExtractor {
public:
    /// Levels and pitches are those of the stretch's frames, as frameLevels() and framePitches() give them.
    std::optional<CompactFeatures> extract(std::span<const float> samples, std::span<const float> levels,
                                           std::span<const double> pitches);

private:
    CentroidFinder m_centroid;
    MfccFinder m_mfcc;
};

} // namespace fenlo::voice
