#pragma once

#include <optional>
#include <string>
#include <vector>

namespace fenlo::whisper {

enum class DecodingTask { transcribe, translate };

/// How long audio is cut before it is decoded: not at all, at silences into chunks of a window at most, or into a few
/// long parts (AudioProcessor/RecordingParts).
enum class ChunkingStrategy { none, vad, parts };

/// What is wanted of one transcription. A threshold without a value switches its test off.
struct DecodingOptions {
    bool verbose = false;
    DecodingTask task = DecodingTask::transcribe;
    std::optional<std::string> language; // a code such as "en"; without one see detectLanguage
    float temperature = 0.0f;
    float temperatureIncrementOnFallback = 0.2f;
    int temperatureFallbackCount = 5;
    int sampleLength = 224; // tokens a window
    int topK = 5;
    bool usePrefillPrompt = true;
    bool usePrefillCache = true;
    std::optional<bool> detectLanguage; // without a `language`: false takes English, else the audio decides
    bool skipSpecialTokens = false;
    bool withoutTimestamps = false;
    bool wordTimestamps = false;
    std::optional<float> maxInitialTimestamp; // seconds
    std::optional<int> maxWindowSeek;         // samples
    std::vector<float> clipTimestamps;        // seconds: start, end, start, end, …
    float windowClipTime = 1.0f;              // seconds
    std::optional<std::vector<int>> promptTokens;
    std::optional<std::vector<int>> prefixTokens;
    bool suppressBlank = false;
    std::vector<int> supressTokens;
    std::optional<float> compressionRatioThreshold = 2.4f;
    std::optional<float> logProbThreshold = -1.0f;
    std::optional<float> firstTokenLogProbThreshold = -1.5f;
    std::optional<float> noSpeechThreshold = 0.6f;
    int concurrentWorkerCount = 16;
    std::optional<ChunkingStrategy> chunkingStrategy;
    unsigned seed = 0; // of sampling above temperature 0: the same audio gives the same text
    /// All speech gets a text, or a segment that says that none was found; see TranscribeTask. Without this a window
    /// can end without a text although somebody speaks in it.
    bool losesNoSpeech = false;
    /// The recording ends soon behind its last sound, however long it goes on in silence: see media/LastSound.
    bool endsAtLastSound = false;

    bool operator==(const DecodingOptions&) const = default;
};

} // namespace fenlo::whisper
