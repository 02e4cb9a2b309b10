#include "WhisperEngine/VoiceActivityDetector/VoiceActivityDetector.h"

#include "media/Level.h"

#include <algorithm>

namespace fenlo::whisper {

namespace {

int toSamples(float seconds, int rate) {
    return static_cast<int>(seconds * static_cast<float>(rate));
}

// Of energyVadFor(): levels of frames.
constexpr float restingMicrophone = 0.002f;
constexpr float voiceBelowLoudest = 0.1f;
constexpr float voiceAboveNoise = 2; // times the quietest tenth of the frames

} // namespace

EnergyVAD::EnergyVAD(int rate, float frameLength, float frameOverlap, float energyThreshold)
    : VoiceActivityDetector(rate, toSamples(frameLength, rate), toSamples(frameOverlap, rate)),
      m_energyThreshold(energyThreshold) {}

EnergyVAD energyVadFor(std::span<const float> recording) {
    const EnergyVAD stock;
    const auto frame = static_cast<std::size_t>(stock.frameLengthSamples());
    std::vector<float> levels;
    levels.reserve(recording.size() / frame + 1);
    for (std::size_t start = 0; start < recording.size(); start += frame)
        levels.push_back(rms(recording.subspan(start, std::min(frame, recording.size() - start))));
    if (levels.empty())
        return stock;
    const float loudest = *std::ranges::max_element(levels);
    const auto quiet = levels.begin() + std::ssize(levels) / 10;
    std::ranges::nth_element(levels, quiet);
    const float voice = std::clamp(voiceBelowLoudest * loudest, restingMicrophone, stock.energyThreshold());
    return EnergyVAD(stock.sampleRate(), 0.1f, 0.0f, std::max(voice, voiceAboveNoise * *quiet));
}

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
