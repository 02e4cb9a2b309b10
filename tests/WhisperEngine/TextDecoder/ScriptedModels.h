#pragma once

#include "WhisperEngine/ModelCalls.h"
#include "WhisperEngine/support/Tokens.h"

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace fenlo::whisper::test {

/// What the scripted decoder answers in one decoding of a window.
struct ScriptedPass {
    std::vector<int> tokens;   // what each sampled step prefers; the end token after the last
    float confidence = 20;     // the preferred token's score above all others
    float noSpeechScore = -20; // the score of the no-speech token at the start of the transcript
};

/// Plays passes one after the other and records what it was asked.
///
/// Threads: one decoding at a time.
class ScriptedDecoder final : public TextDecoderModel {
public:
    explicit ScriptedDecoder(std::vector<ScriptedPass> passes, int logits = 51864)
        : m_passes(std::move(passes)), m_logits(logits) {}

    std::optional<int> kvCacheEmbedDim() const override { return 4; }
    std::optional<int> kvCacheMaxSequenceLength() const override { return 224; }
    std::optional<int> encoderOutputDim() const override { return 2; }
    std::optional<int> logitsSize() const override { return m_logits; }
    int audioFrames() const override { return 1500; }
    void attach(AudioEmbeddings& embeddings) const override {
        embeddings.derived = std::make_shared<AudioEmbeddings::Derived>();
    }
    std::unique_ptr<Scratch> makeScratch() const override { return std::make_unique<Scratch>(); }
    void predict(const TextDecoderInputs& inputs, const TextDecoderOutputs& outputs, Scratch& scratch) const override;

    int promptLength = 1;                            // where sampling begins
    mutable std::vector<std::vector<int>> fedTokens; // by pass
    mutable std::vector<int> fedPositions;           // of the last pass

private:
    std::vector<ScriptedPass> m_passes;
    int m_logits;
    mutable std::ptrdiff_t m_pass = -1;
};

} // namespace fenlo::whisper::test
