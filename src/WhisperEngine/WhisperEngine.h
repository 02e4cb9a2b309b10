#pragma once

#include "WhisperEngine/TextDecoder/TextDecoder.h"
#include "WhisperEngine/TranscribeTask.h"
#include "WhisperEngine/WhisperEngineConfig.h"

#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {
class Clock;
class HttpClient;
} // namespace fenlo

namespace fenlo::whisper {

class Places;
class ThreadPool;
struct ModelPlace;

/// "Converting Audio", "Transcribing", "Finished".
enum class TranscriptionState { convertingAudio, transcribing, finished };
const char* textOf(TranscriptionState state);

/// Who wants to see a transcription while it runs. Callbacks come on the threads of the tasks.
struct TranscriptionCallbacks {
    TranscriptionCallback progress;
    SegmentDiscoveryCallback segmentDiscovery; // times count from the start of the whole audio
    std::function<void(TranscriptionState)> state;
    std::function<void(double seconds)> loaded;    // a file's length, on the calling thread
    std::function<void(double fraction)> fraction; // of the audio, over all of its parts
    /// Each stretch of a file that could not be read, in order, on the calling thread before the state "Transcribing".
    std::function<void(const AudioDamage&)> damage;
    /// After each window of the part with this index; parts are the arrays that the audio was cut into.
    std::function<void(std::size_t part, const TranscriptionCheckpoint&, std::span<const TranscriptionSegment>)>
        checkpoint;
    /// After the last window of a part.
    std::function<void(std::size_t part)> finished;
    WindowAnswer answer; // asked before a window is decoded; on the threads of the tasks
};

/// What checkpoints have told of a transcription that was stopped, by the index of the part.
using StoppedParts = std::map<std::size_t, StoppedTranscription>;

/// A Whisper model on this machine's processor: finds it, downloads it, compiles it, loads it, and turns audio into
/// timed segments.
///
/// Threads: create(), loadModels(), prewarmModels() and unloadModels() block and must not overlap with a transcription;
///          transcribe() may run on several threads at once.
/// Errors:  WhisperError. An engine whose creation failed is of no use; make a new one.
class WhisperEngine {
public:
    /// Downloads, prewarms and loads as the configuration asks. May take minutes on first use.
    static std::unique_ptr<WhisperEngine> create(WhisperEngineConfig config, HttpClient& http, Clock& clock,
                                                 std::stop_token stop);
    ~WhisperEngine();

    /// Any audio file that libsndfile or an installed ffmpeg program reads. With `resume` it goes on from there: the
    /// same audio, options and model then give the same result as if it had never been stopped.
    std::vector<TranscriptionResult> transcribe(const std::filesystem::path& audioPath,
                                                const DecodingOptions& decodeOptions,
                                                const TranscriptionCallbacks& callbacks, std::stop_token stop,
                                                const StoppedParts& resume = {}) const;
    /// Samples at 16 kHz. One result for each part that the audio was cut into, in order.
    std::vector<TranscriptionResult> transcribe(std::span<const float> audioArray, const DecodingOptions& decodeOptions,
                                                const TranscriptionCallbacks& callbacks, std::stop_token stop,
                                                const StoppedParts& resume = {}) const;

    /// Several files, one list of results each; the first failure is thrown when all have ended.
    std::vector<std::vector<TranscriptionResult>> transcribe(const std::vector<std::filesystem::path>& audioPaths,
                                                             const DecodingOptions& decodeOptions,
                                                             std::stop_token stop) const;
    /// Several arrays side by side, each with its own options; `seekOffsetIndexes` (samples, may be empty) are where
    /// the arrays begin in a whole, to which all times are shifted.
    std::vector<TranscriptionResult> transcribe(const std::vector<std::span<const float>>& audioArrays,
                                                const std::vector<int>& seekOffsetIndexes,
                                                const std::vector<DecodingOptions>& decodeOptions,
                                                const TranscriptionCallbacks& callbacks, std::stop_token stop,
                                                const StoppedParts& resume = {}) const;

    /// The language at the beginning of a file, with the probability of every language.
    DecodingResult detectLanguage(const std::filesystem::path& audioPath, std::stop_token stop) const;

    void prewarmModels(std::stop_token stop);
    void loadModels(bool prewarmMode, std::stop_token stop);
    void unloadModels();

    ModelState modelState() const { return m_modelState; }
    const std::filesystem::path& modelFolder() const { return m_modelFolder; }
    const std::string& modelVariant() const { return m_modelVariant; }
    bool isModelMultilingual() const;
    /// How many windows this machine decodes in little more time than one, and with memory to spare. Transcriptions at
    /// the same time share the steps of the decoder, so that so many files at once are done much sooner than one after
    /// the other; more of them wait. Throws WhisperError without loaded models.
    int windowsAtOnce() const;
    /// Of the loaded models. Throws WhisperError when there are none.
    const WhisperTokenizer& tokenizer() const;
    /// What the loads took; the stages of a transcription are in its result.
    const TranscriptionTimings& currentTimings() const { return m_timings; }

private:
    struct Arrays;

    WhisperEngine(WhisperEngineConfig config, HttpClient& http, Clock& clock);

    void findModel(std::stop_token stop);
    void load(bool prewarmMode, std::stop_token stop);
    void setState(ModelState state);
    void loadTokenizer(const std::string& repository, const ModelPlace& place, std::stop_token stop);
    TaskComponents components() const;
    std::vector<TranscriptionResult> transcribeChunks(std::span<const float> audioArray, const DecodingOptions& options,
                                                      const TranscriptionCallbacks& callbacks, std::stop_token stop,
                                                      const StoppedParts& resume) const;
    std::vector<TranscriptionResult> transcribeParts(std::span<const float> audioArray, const DecodingOptions& options,
                                                     const TranscriptionCallbacks& callbacks, std::stop_token stop,
                                                     const StoppedParts& resume) const;
    std::vector<TranscriptionResult> transcribeAll(const TaskComponents& parts, const Arrays& arrays,
                                                   const TranscriptionCallbacks& callbacks, std::stop_token stop,
                                                   const StoppedParts& resume) const;

    const WhisperEngineConfig m_config;
    HttpClient& m_http;
    Clock& m_clock;
    const Logging m_logging;
    const std::unique_ptr<ThreadPool> m_pool;
    const std::shared_ptr<const AudioProcessor> m_audioProcessor;
    const std::shared_ptr<const SegmentSeeker> m_segmentSeeker;

    std::atomic<ModelState> m_modelState = ModelState::unloaded;
    std::filesystem::path m_modelFolder;
    std::string m_modelVariant;
    std::shared_ptr<const WhisperTokenizer> m_tokenizer;
    std::shared_ptr<const MelSpectrogramModel> m_featureExtractor;
    std::shared_ptr<const AudioEncoderModel> m_audioEncoder;
    std::shared_ptr<const TextDecoder> m_textDecoder;
    std::unique_ptr<Places> m_places; // of windows in memory
    TranscriptionTimings m_timings;
};

} // namespace fenlo::whisper
