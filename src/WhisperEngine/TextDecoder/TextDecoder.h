#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/Logging.h"
#include "WhisperEngine/ModelCalls.h"
#include "WhisperEngine/TextDecoder/DecodingInputs.h"
#include "WhisperEngine/TextDecoder/EarlyStopActor.h"
#include "WhisperEngine/TokenSampler/LogitsFilter.h"
#include "WhisperEngine/TranscriptionResult.h"

#include <functional>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {
class Clock;
}

namespace fenlo::whisper {

class CacheStepper;
class StepBatch;
class TokenSampler;
class WhisperTokenizer;

/// Sees the text of a window grow, after each step. False ends the window with what there is.
using TranscriptionCallback = std::function<bool(const TranscriptionProgress&)>;

/// What a window's decoding is told beside its arrays and options.
struct WindowContext {
    std::string language; // a code
    int windowId = 0;     // told to the callback
    TranscriptionCallback callback;
    TranscriptionTimings& timings;
    std::stop_token stop;
};

/// Turns the embeddings of one window into tokens, a model call for each, with the key and value cache held here.
///
/// Threads: constant apart from the early-stop flags; several windows may be decoded at once, each with its own inputs,
///          sampler and scratch. They share the model's calls (StepBatch). The callback runs on the decoding thread;
///          the other windows wait for it.
/// Errors:  WhisperError. A stop request ends in the kind `cancelled`.
class TextDecoder {
public:
    /// No position beyond this is decoded, whatever the model's cache holds.
    static constexpr int maxTokenContext = 224;

    TextDecoder(std::shared_ptr<const TextDecoderModel> model,
                std::shared_ptr<const TextDecoderContextPrefillModel> prefillData,
                std::shared_ptr<const WhisperTokenizer> tokenizer, LogitsFilters logitsFilters, Clock& clock,
                Logging logging);
    ~TextDecoder();

    bool isModelMultilingual() const { return m_isModelMultilingual; }

    /// The forced start of the sequence: earlier text, start-of-transcript, language and task (for a model that knows
    /// several), the token for no timestamps, and a prefix. `language` is a code.
    std::vector<int> prefillPrompt(const DecodingOptions& options, const std::string& language,
                                   const std::vector<int>& previousTokens) const;

    DecodingInputs prepareDecoderInputs(std::vector<int> withPrompt, bool withAlignment) const;

    /// Fetches the stored cache for the fixed start, where there is one and the options want it.
    void prefillDecoderInputs(DecodingInputs& inputs, const DecodingOptions& options,
                              const std::string& language) const;

    /// `inputs` hold the prompt; `encoderOutput` is attached.
    DecodingResult decodeText(const AudioEmbeddings& encoderOutput, DecodingInputs& inputs, TokenSampler& sampler,
                              const DecodingOptions& options, const WindowContext& window) const;

    /// One step from the start-of-transcript token: the language with its probability beside all others.
    DecodingResult detectLanguage(const AudioEmbeddings& encoderOutput, DecodingInputs& inputs, TokenSampler& sampler,
                                  TranscriptionTimings& timings, std::stop_token stop = {}) const;

    void attachUntil(AudioEmbeddings& embeddings, const std::stop_token& stop) const {
        m_model->attachUntil(embeddings, stop);
    }
    int windowsAtOnce() const { return m_model->windowsAtOnce(); }
    /// Whose windows wait for each other.
    StepBatch& batch() const { return *m_batch; }

private:
    class WindowDecoding;

    struct Sizes {
        int kvCacheEmbedDim = 0;
        int kvCacheMaxSequenceLength = 0;
        int logits = 0;
    };

    LogitsFilters filtersFor(const DecodingOptions& options, int sampleBegin) const;
    /// A step of the cache, timed.
    void step(CacheStepper& stepper, int token, std::span<float> logits, TranscriptionTimings& timings) const;

    std::shared_ptr<const TextDecoderModel> m_model;
    std::shared_ptr<const TextDecoderContextPrefillModel> m_prefillData;
    std::shared_ptr<const WhisperTokenizer> m_tokenizer;
    LogitsFilters m_logitsFilters;
    std::shared_ptr<const LogitsFilter> m_languageLogitsFilter;
    Clock& m_clock;
    Logging m_logging;
    Sizes m_sizes;
    bool m_isModelMultilingual = false;
    mutable EarlyStopActor m_earlyStopActor;
    std::unique_ptr<StepBatch> m_batch;
};

} // namespace fenlo::whisper
