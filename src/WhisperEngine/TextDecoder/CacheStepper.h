#pragma once

#include "WhisperEngine/ModelCalls.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

namespace fenlo::whisper {

struct DecodingInputs;

/// Feeds a decoder model token by token: each step adds one position to the cache.
///
/// Threads:  one at a time.
/// Errors:   WhisperError, those of the model.
/// Lifetime: the model, the embeddings (attached to the model) and the inputs outlive this.
class CacheStepper {
public:
    /// Runs the model; by default by itself.
    using Run = std::function<void(const TextDecoderModel::Call&)>;

    CacheStepper(const TextDecoderModel& model, const AudioEmbeddings& embeddings, DecodingInputs& inputs,
                 Run run = {});

    /// Runs the model on `token` at the next position. Its keys and values, and its alignment where the inputs have
    /// room for one, go to their place in the inputs. `logits` may be empty: then they are not computed. Allocates
    /// nothing.
    void step(int token, std::span<float> logits);

    DecodingInputs& inputs() const { return m_inputs; }

private:
    const TextDecoderModel& m_model;
    const AudioEmbeddings& m_embeddings;
    DecodingInputs& m_inputs;
    std::size_t m_width;  // of a position in the caches
    std::size_t m_frames; // of a position in the alignment
    std::unique_ptr<TextDecoderModel::Scratch> m_scratch;
    Run m_run;
};

} // namespace fenlo::whisper
