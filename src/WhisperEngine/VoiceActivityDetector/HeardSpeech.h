#pragma once

#include "WhisperEngine/VoiceActivityDetector/VoiceActivityDetector.h"

#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace fenlo::whisper {

/// Where somebody speaks in a recording, by a detector of voice activity, or without one by the recording's energy.
///
/// Lifetime: the recording and the detector outlive this.
/// Units:    samples at 16 kHz; a stretch is its first sample and the one behind its last.
class HeardSpeech {
public:
    using Stretch = std::pair<int, int>;

    HeardSpeech(std::span<const float> recording, const VoiceActivityDetector* detector);

    /// For how many of these samples somebody speaks.
    int soundIn(int begin, int end) const;
    /// From the first sound within these samples to the last.
    std::optional<Stretch> speechIn(int begin, int end) const;

private:
    std::vector<Stretch> stretches(int begin, int end) const;

    const std::span<const float> m_recording;
    const VoiceActivityDetector* const m_detector;
    std::optional<EnergyVAD> m_energy; // in place of a detector
};

} // namespace fenlo::whisper
