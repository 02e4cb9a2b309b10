#pragma once

#include "WhisperEngine/ClipSpeech.h"
#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/TaskComponents.h"
#include "WhisperEngine/TextDecoder/TextDecoder.h"
#include "WhisperEngine/TranscriptionCheckpoint.h"
#include "WhisperEngine/TranscriptionResult.h"
#include "WhisperEngine/VoiceActivityDetector/HeardSpeech.h"
#include "WhisperEngine/WindowAnswer.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <vector>

namespace fenlo::whisper {

struct SeekResult;

/// New segments as they are found, in order.
using SegmentDiscoveryCallback = std::function<void(const std::vector<TranscriptionSegment>&)>;

/// Transcribes one array of samples: walks over it window by window, and decodes a window again at a higher temperature
/// when its result looks bad. A task serves one array and is not used again.
///
/// With `losesNoSpeech`
///   - the first token is not tested, and the next window begins at the pair of time tokens that ends this one;
///   - a short rest behind a full window is decoded when somebody speaks in it;
///   - a window with speech but without text is decoded once more without tests; if it stays empty, a segment without
///     text says so;
///   - with a `noSpeechThreshold`, the next window begins where the segments pass over a second of speech, and a clip
///     that begins with speech gets a little silence before it.
/// The detector of the components says where somebody speaks.
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
    /// Has `answer` asked before a window is decoded. Not for word times, which need the decoding itself. Before run().
    void askFirst(WindowAnswer answer) { m_answer = std::move(answer); }

    /// `audioArray` at 16 kHz. Segment times count from its start.
    TranscriptionResult run(std::span<const float> audioArray, const DecodingOptions& options,
                            const TranscriptionCallback& callback, std::stop_token stop);

    /// The language at the beginning of the array, with the probability of every language.
    DecodingResult detectLanguage(std::span<const float> audioArray);

private:
    /// The window that the walk is at. It is encoded when its embeddings are first asked for.
    struct Window {
        std::vector<float> samples;
        std::optional<AudioEmbeddings> embeddings;
    };

    std::string languageToStartWith() const;
    /// The windows of m_clip, from `seek`.
    void transcribeClip(std::size_t clip, int seek);
    void tellCheckpoint(std::size_t clip, int seek, std::size_t segmentsBefore) const;
    void throwIfStopped() const;
    /// Where the next window begins.
    int transcribeWindow(int seek, int length);
    void endBeforeUnheardSpeech(SeekResult& found, int seek) const;
    Window windowAt(int seek, int length, int clipBegin);
    const AudioEmbeddings& encode(Window& window);
    DecodingResult decode(Window& window, const DecodingOptions& options);
    DecodingResult answer(const Window& window, const DecodingOptions& options, std::span<const int> prompt,
                          const std::function<DecodingResult()>& decode) const;
    SeekResult listenAgain(Window& window, DecodingResult& result, int seek, int length);
    DecodingResult detectLanguage(Window& window);
    SeekResult findSegments(const DecodingResult& result, const DecodingOptions& options, int seek, int length);
    void takeSegments(std::vector<TranscriptionSegment> segments, const DecodingResult& result, int seek, int length);
    void holdToClip(std::vector<TranscriptionSegment>& segments) const;
    void addWords(std::vector<TranscriptionSegment>& segments, const DecodingResult& result, int seek, int length);

    const TaskComponents m_components;
    const SegmentDiscoveryCallback m_segmentDiscoveryCallback;
    const std::function<void(double)> m_progress;
    CheckpointCallback m_checkpointCallback;
    WindowAnswer m_answer;

    std::span<const float> m_audio;
    DecodingOptions m_options;
    TranscriptionCallback m_callback;
    std::stop_token m_stop;
    std::string m_language; // empty until it is known
    std::vector<int> m_previousTokens;
    std::optional<HeardSpeech> m_heard; // with losesNoSpeech
    std::unique_ptr<DecodingInputs> m_inputs;
    TranscriptionTimings m_timings;
    std::vector<TranscriptionSegment> m_segments;
    float m_lastSpeechTimestamp = 0;
    int m_windowId = 0;
    std::optional<ClipSpeech> m_clip; // the one that is walked over
    std::size_t m_firstClip = 0;
    std::optional<int> m_firstSeek; // where a stopped task goes on
};

/// The texts of the segments, one after the other.
std::string textOf(const std::vector<TranscriptionSegment>& segments);

} // namespace fenlo::whisper
