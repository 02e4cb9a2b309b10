#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/Logging.h"
#include "WhisperEngine/TextDecoder/TextDecoder.h"
#include "WhisperEngine/TranscriptionCheckpoint.h"
#include "WhisperEngine/TranscriptionResult.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <utility>
#include <vector>

namespace fenlo {
class Clock;
}

namespace fenlo::whisper {

class AudioEncoderModel;
class AudioProcessor;
class MelSpectrogramModel;
class SegmentSeeker;
class WhisperTokenizer;

/// What every task shares: constant, and outlives it.
struct TaskComponents {
    const MelSpectrogramModel& featureExtractor;
    const AudioEncoderModel& audioEncoder;
    const TextDecoder& textDecoder;
    const AudioProcessor& audioProcessor;
    const SegmentSeeker& segmentSeeker;
    const WhisperTokenizer& tokenizer;
    Clock& clock;
    const Logging& logging;
};

/// New segments as they are found, in order.
using SegmentDiscoveryCallback = std::function<void(const std::vector<TranscriptionSegment>&)>;

/// Transcribes one array of samples: walks over it window by window, and decodes a window again at a higher temperature
/// when its result looks bad. A task serves one array and is not used again.
///
/// Threads: one. Callbacks run on it.
/// Errors:  WhisperError; partial results are not returned. A stop request ends in the kind `cancelled`.
class TranscribeTask {
public:
    TranscribeTask(const TaskComponents& components, SegmentDiscoveryCallback segmentDiscoveryCallback,
                   std::function<void(double fraction)> progress);

    /// Tells `callback` of every window, and goes on where an earlier task was stopped. Before run().
    void keepCheckpoints(CheckpointCallback callback) { m_checkpointCallback = std::move(callback); }
    void resume(StoppedTranscription stopped);

    /// `audioArray` at 16 kHz. Segment times count from its start.
    TranscriptionResult run(std::span<const float> audioArray, const DecodingOptions& options,
                            const TranscriptionCallback& callback, std::stop_token stop);

    /// The language at the beginning of the array, with the probability of every language.
    DecodingResult detectLanguage(std::span<const float> audioArray);

private:
    /// From `seek`, which is `begin` unless the clip was stopped within.
    void transcribeClip(std::size_t clip, int begin, int end, int seek);
    void tellCheckpoint(std::size_t clip, int seek, std::size_t segmentsBefore) const;
    AudioEmbeddings encode(int seek, int length);
    DecodingResult decodeWithFallback(const AudioEmbeddings& embeddings);
    std::optional<DecodingFallback> verdict(const DecodingResult& result) const;
    DecodingResult detectLanguage(const AudioEmbeddings& embeddings);
    /// Where the next window begins.
    int takeSegments(const DecodingResult& result, int seek, int length);
    void addWords(std::vector<TranscriptionSegment>& segments, const DecodingResult& result, int seek, int length);
    void logTimings() const;

    const TaskComponents m_components;
    const SegmentDiscoveryCallback m_segmentDiscoveryCallback;
    const std::function<void(double)> m_progress;
    CheckpointCallback m_checkpointCallback;

    std::span<const float> m_audio;
    DecodingOptions m_options;
    TranscriptionCallback m_callback;
    std::stop_token m_stop;
    std::string m_language; // empty until it is known
    std::vector<int> m_previousTokens;
    std::unique_ptr<DecodingInputs> m_inputs;
    TranscriptionTimings m_timings;
    std::vector<TranscriptionSegment> m_segments;
    float m_lastSpeechTimestamp = 0;
    int m_windowId = 0;
    std::size_t m_firstClip = 0;
    std::optional<int> m_firstSeek; // where a stopped task goes on
};

/// The texts of the segments, one after the other.
std::string textOf(const std::vector<TranscriptionSegment>& segments);

} // namespace fenlo::whisper
