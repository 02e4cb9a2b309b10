#include "WhisperEngine/VoiceActivityDetector/HeardSpeech.h"

namespace fenlo::whisper {

HeardSpeech::HeardSpeech(std::span<const float> recording, const VoiceActivityDetector* detector)
    : m_recording(recording), m_detector(detector) {
    if (!detector)
        m_energy.emplace(energyVadFor(recording));
}

std::vector<HeardSpeech::Stretch> HeardSpeech::stretches(int begin, int end) const {
    const VoiceActivityDetector& detector = m_detector ? *m_detector : *m_energy;
    auto found = detector.calculateActiveChunks(
        m_recording.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin)));
    for (auto& [first, last] : found) {
        first += begin;
        last += begin;
    }
    return found;
}

int HeardSpeech::soundIn(int begin, int end) const {
    int samples = 0;
    for (const auto& [first, last] : stretches(begin, end))
        samples += last - first;
    return samples;
}

std::optional<HeardSpeech::Stretch> HeardSpeech::speechIn(int begin, int end) const {
    const auto found = stretches(begin, end);
    if (found.empty())
        return std::nullopt;
    return Stretch(found.front().first, found.back().second);
}

} // namespace fenlo::whisper
