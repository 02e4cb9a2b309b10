#include "WhisperEngine/AudioProcessor/AudioChunker.h"

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/Logging.h"
#include "WhisperEngine/WhisperError.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace fenlo::whisper {

std::vector<std::pair<int, int>> prepareSeekClips(const DecodingOptions& options, int sampleCount) {
    const auto toSample = [sampleCount](float seconds) {
        const double sample = std::round(static_cast<double>(seconds) * sampleRate);
        return sample > 0 ? static_cast<int>(std::min<double>(sample, sampleCount)) : 0; // 0 for NaN too
    };
    if (options.clipTimestamps.empty())
        return {{0, sampleCount}};
    std::vector<std::pair<int, int>> clips;
    for (std::size_t i = 0; i < options.clipTimestamps.size(); i += 2) {
        const int start = toSample(options.clipTimestamps[i]);
        const bool hasEnd = i + 1 < options.clipTimestamps.size();
        clips.emplace_back(start, hasEnd ? std::max(start, toSample(options.clipTimestamps[i + 1])) : sampleCount);
    }
    return clips;
}

VADAudioChunker::VADAudioChunker(std::shared_ptr<const VoiceActivityDetector> vad, int windowPadding)
    : m_windowPadding(windowPadding), m_vad(vad ? std::move(vad) : std::make_shared<EnergyVAD>()) {}

int VADAudioChunker::cutInSilence(std::span<const float> audioArray, int start, int end) const {
    const int mid = start + (end - start) / 2;
    const auto secondHalf = audioArray.subspan(static_cast<std::size_t>(mid), static_cast<std::size_t>(end - mid));
    const auto silence = VoiceActivityDetector::findLongestSilence(m_vad->voiceActivity(secondHalf));
    if (!silence)
        return end;
    const int middleFrame = silence->first + (silence->second - silence->first + 1) / 2;
    return std::clamp(mid + middleFrame * m_vad->frameStepSamples(), start + 1, end);
}

std::vector<AudioChunk> VADAudioChunker::chunkAll(std::span<const float> audioArray, int maxChunkLength,
                                                  const DecodingOptions& options, const Logging& logging) const {
    if (maxChunkLength <= 0)
        throw WhisperError(WhisperError::Kind::audioProcessingFailed, "audio cannot be cut into chunks of " +
                                                                          std::to_string(maxChunkLength) +
                                                                          " samples; give the length of a window");
    const int sampleCount = static_cast<int>(audioArray.size());
    if (sampleCount <= maxChunkLength)
        return {{.seekOffsetIndex = 0, .audioSamples = audioArray}};

    std::vector<AudioChunk> chunks;
    for (const auto& [clipStart, clipEnd] : prepareSeekClips(options, sampleCount)) {
        for (int start = clipStart; start < clipEnd - m_windowPadding;) {
            const bool isLast = clipEnd - start <= maxChunkLength;
            const int cut = isLast ? clipEnd : cutInSilence(audioArray, start, start + maxChunkLength);
            logging.debug("Found chunk from {:.2f} to {:.2f}", static_cast<double>(start) / sampleRate,
                          static_cast<double>(cut) / sampleRate);
            chunks.push_back({.seekOffsetIndex = start,
                              .audioSamples = audioArray.subspan(static_cast<std::size_t>(start),
                                                                 static_cast<std::size_t>(cut - start))});
            start = cut;
        }
    }
    return chunks;
}

} // namespace fenlo::whisper
