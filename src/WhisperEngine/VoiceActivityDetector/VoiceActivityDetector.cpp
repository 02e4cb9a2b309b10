#include "WhisperEngine/VoiceActivityDetector/VoiceActivityDetector.h"

#include "WhisperEngine/WhisperError.h"

#include <algorithm>
#include <string>

namespace fenlo::whisper {

VoiceActivityDetector::VoiceActivityDetector(int rate, int frameLengthSamples, int frameOverlapSamples)
    : m_sampleRate(rate), m_frameLengthSamples(frameLengthSamples), m_frameOverlapSamples(frameOverlapSamples) {
    if (frameLengthSamples <= 0 || frameOverlapSamples < 0 || frameOverlapSamples >= frameLengthSamples)
        throw WhisperError(WhisperError::Kind::initializationError,
                           "voice activity: frames of " + std::to_string(frameLengthSamples) + " samples with " +
                               std::to_string(frameOverlapSamples) +
                               " in common do not get on; give a length above the overlap");
}

std::vector<std::pair<int, int>> VoiceActivityDetector::calculateActiveChunks(std::span<const float> waveform) const {
    const std::vector<bool> activity = voiceActivity(waveform);
    const int frames = static_cast<int>(activity.size());
    const auto isActive = [&](int frame) { return activity[static_cast<std::size_t>(frame)]; };
    std::vector<std::pair<int, int>> chunks;
    for (int frame = 0; frame < frames; ++frame) {
        if (!isActive(frame))
            continue;
        const int first = frame;
        while (frame + 1 < frames && isActive(frame + 1))
            ++frame;
        chunks.emplace_back(first * frameStepSamples(), std::min(frame * frameStepSamples() + frameLengthSamples(),
                                                                 static_cast<int>(waveform.size())));
    }
    return chunks;
}

std::optional<std::pair<int, int>> VoiceActivityDetector::findLongestSilence(const std::vector<bool>& activity) {
    std::optional<std::pair<int, int>> longest;
    int length = 0;
    for (std::size_t frame = 0; frame < activity.size(); ++frame) {
        length = activity[frame] ? 0 : length + 1;
        const int last = static_cast<int>(frame);
        if (length > 0 && (!longest || length > longest->second - longest->first + 1))
            longest = {last - length + 1, last};
    }
    return longest;
}

} // namespace fenlo::whisper
