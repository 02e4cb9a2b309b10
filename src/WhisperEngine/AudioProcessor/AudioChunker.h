#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/VoiceActivityDetector/VoiceActivityDetector.h"

#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace fenlo::whisper {

class Logging;

/// A view: it lives as long as the audio it was cut from.
struct AudioChunk {
    int seekOffsetIndex = 0; // samples from the start of the audio
    std::span<const float> audioSamples;
};

/// Start and end samples of the clips that `clipTimestamps` name; the whole audio when they name none. An odd count
/// closes the last clip at the end of the audio. Times outside the audio are held to it.
std::vector<std::pair<int, int>> prepareSeekClips(const DecodingOptions& options, int sampleCount);

/// Cuts long audio at its silences.
///
/// Errors: WhisperError of the kind audioProcessingFailed.
class VADAudioChunker {
public:
    /// Without a detector the energy decides, as EnergyVAD does by default. A rest of at most `windowPadding` samples
    /// at the end of a clip gives no chunk.
    explicit VADAudioChunker(std::shared_ptr<const VoiceActivityDetector> vad = nullptr, int windowPadding = 0);

    /// Chunks follow each other without a gap in each clip of the options, cut in the middle of the longest silence
    /// in the second half of the greatest length. Audio within `maxChunkLength` (samples) is one chunk, whatever the
    /// clips.
    std::vector<AudioChunk> chunkAll(std::span<const float> audioArray, int maxChunkLength,
                                     const DecodingOptions& options, const Logging& logging) const;

private:
    int cutInSilence(std::span<const float> audioArray, int start, int end) const;

    int m_windowPadding;
    std::shared_ptr<const VoiceActivityDetector> m_vad;
};

} // namespace fenlo::whisper
