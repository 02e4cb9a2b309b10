#include "WhisperEngine/VoiceActivityDetector/VoiceActivityDetector.h"
#include "media/Level.h"

#include <algorithm>

namespace fenlo::whisper {

namespace {

int toSamples(float seconds, int rate) {
    return static_cast<int>(seconds * static_cast<float>(rate));
}

} // namespace

EnergyVAD::EnergyVAD(int sampleRate, float frameLength, float frameOverlap, float energyThreshold)
    : VoiceActivityDetector(sampleRate, toSamples(frameLength, sampleRate), toSamples(frameOverlap, sampleRate)),
      m_energyThreshold(energyThreshold) {}

std::vector<bool> EnergyVAD::voiceActivity(std::span<const float> waveform) const {
    const auto length = static_cast<std::size_t>(frameLengthSamples());
    const auto step = static_cast<std::size_t>(frameStepSamples());
    std::vector<bool> activity;
    activity.reserve(waveform.size() / step + 1);
    for (std::size_t start = 0; start < waveform.size(); start += step)
        activity.push_back(rms(waveform.subspan(start, std::min(length, waveform.size() - start))) > m_energyThreshold);
    return activity;
}

} // namespace fenlo::whisper
