#pragma once

#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/TextDecoder.h"
#include "WhisperEngine/TokenSampler/TokenSampler.h"

#include <string>
#include <vector>

namespace fenlo::whisper {

/// The decoding of one window: prefill(), step() until it returns false, finish().
class TextDecoder::WindowDecoding {
public:
    WindowDecoding(const TextDecoder& decoder, CacheStepper stepper, TokenSampler& sampler,
                   const DecodingOptions& options, const WindowContext& window);

    /// Fills the cache with the prompt, all but its last token.
    void prefill();
    /// Samples one token. False when the window ends with it, or has ended.
    bool step();
    DecodingResult finish();

private:
    /// The flag of a window lives as long as its decoding, however that ends.
    class EarlyStopFlag {
    public:
        EarlyStopFlag(EarlyStopActor& actor, const Logging& logging);
        ~EarlyStopFlag();
        EarlyStopFlag(const EarlyStopFlag&) = delete;
        EarlyStopFlag& operator=(const EarlyStopFlag&) = delete;

        void stop() { m_actor.stop(m_window); }
        bool isStopped() const { return m_actor.isStopped(m_window); }

    private:
        EarlyStopActor& m_actor;
        const Logging& m_logging;
        const std::string m_window;
    };

    /// Returns how many positions it covers.
    int takeStoredStart();
    /// Runs the model on the token at m_index.
    void call(bool wantsLogits);
    void sample();
    bool firstTokenIsUnlikely();
    void tellProgress();
    void describe(const char* what, int token) const;

    const TextDecoder& m_decoder;
    CacheStepper m_stepper;
    TokenSampler& m_sampler;
    const DecodingOptions& m_options;
    const WindowContext& m_window;
    const SpecialTokens& m_special;
    const Logging& m_logging;
    const int m_promptLength;
    const int m_end; // no step is taken from this index on
    const LogitsFilters m_filters;
    EarlyStopFlag m_earlyStop;
    const double m_begin;

    int m_index = 0; // of the token that the next call is fed
    std::vector<float> m_logits;
    SamplingResult m_sampled; // the prompt first
    bool m_firstTokenFailed = false;
    float m_noSpeechProb = 0;
};

} // namespace fenlo::whisper
