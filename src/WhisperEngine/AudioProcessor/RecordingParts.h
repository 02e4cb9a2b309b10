#pragma once

#include "WhisperEngine/AudioProcessor/AudioChunker.h"

#include <optional>
#include <span>
#include <vector>

namespace fenlo::whisper {

/// Cuts a long recording into a few parts of minutes, which are walked over side by side. How many, and where, depends
/// on the recording alone: eight at most, of about two minutes at least, from ten minutes on. Each cut lies in the
/// quietest moment of the longest silence near the even division; where nobody pauses there is no cut.
class RecordingParts {
public:
    /// `detector` tells where somebody speaks.
    RecordingParts(std::span<const float> recording, const VoiceActivityDetector& detector)
        : m_recording(recording), m_detector(detector) {}

    /// Whether so many samples are cut at all.
    static bool areWanted(int samples);

    /// The parts from sample `begin` to `end`, without a gap.
    std::vector<AudioChunk> between(int begin, int end) const;

private:
    std::optional<int> cutNear(int sample) const;
    int quietestMoment(int begin, int end) const;

    const std::span<const float> m_recording;
    const VoiceActivityDetector& m_detector;
};

} // namespace fenlo::whisper
