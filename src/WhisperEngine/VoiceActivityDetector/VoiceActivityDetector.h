#pragma once

#include "WhisperEngine/AudioTime.h"

#include <cstddef>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace fenlo::whisper {

/// Tells frame by frame whether somebody speaks. Frames follow each other by their length less their overlap; the last
/// one may be short.
///
/// Errors: WhisperError of the kind initializationError for an overlap that is not below the length.
/// Units:  rate in hertz, frame length and overlap in samples.
class VoiceActivityDetector {
public:
    VoiceActivityDetector(int rate, int frameLengthSamples, int frameOverlapSamples = 0);
    virtual ~VoiceActivityDetector() = default;

    virtual std::vector<bool> voiceActivity(std::span<const float> waveform) const = 0;

    /// Start and end samples of each run of active frames.
    std::vector<std::pair<int, int>> calculateActiveChunks(std::span<const float> waveform) const;

    /// First and last frame of the longest inactive run, the first of equals; the last frame is part of it.
    static std::optional<std::pair<int, int>> findLongestSilence(const std::vector<bool>& activity);

    int sampleRate() const { return m_sampleRate; }
    int frameLengthSamples() const { return m_frameLengthSamples; }
    int frameOverlapSamples() const { return m_frameOverlapSamples; }
    /// From the start of a frame to the start of the next.
    int frameStepSamples() const { return m_frameLengthSamples - m_frameOverlapSamples; }

private:
    int m_sampleRate;
    int m_frameLengthSamples;
    int m_frameOverlapSamples;
};

/// A frame is active when the RMS of its samples is above the threshold.
class EnergyVAD final : public VoiceActivityDetector {
public:
    /// `frameLength` and `frameOverlap` in seconds.
    explicit EnergyVAD(int rate = whisper::sampleRate, float frameLength = 0.1f, float frameOverlap = 0.0f,
                       float energyThreshold = 0.02f);
    std::vector<bool> voiceActivity(std::span<const float> waveform) const override;
    float energyThreshold() const { return m_energyThreshold; }

private:
    float m_energyThreshold;
};

/// For one recording: the stock threshold is lowered where the whole recording is quieter, and raised above a noise
/// that is there all the time.
EnergyVAD energyVadFor(std::span<const float> recording);

} // namespace fenlo::whisper
