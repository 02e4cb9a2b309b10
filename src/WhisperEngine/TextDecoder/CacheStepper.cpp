#include "WhisperEngine/TextDecoder/CacheStepper.h"

#include "WhisperEngine/TextDecoder/DecodingInputs.h"

#include <utility>
#include <vector>

namespace fenlo::whisper {

CacheStepper::CacheStepper(const TextDecoderModel& model, const AudioEmbeddings& embeddings, DecodingInputs& inputs,
                           Run run)
    : m_model(model), m_embeddings(embeddings), m_inputs(inputs),
      m_width(inputs.keyCache.size() / static_cast<std::size_t>(inputs.positions())),
      m_frames(inputs.alignmentWeights.size() / static_cast<std::size_t>(inputs.positions())),
      m_scratch(model.makeScratch()), m_run(std::move(run)) {}

void CacheStepper::step(int token, std::span<float> logits) {
    const auto position = static_cast<std::size_t>(m_inputs.cacheLength);
    if (position > 0)
        m_inputs.kvCacheUpdateMask[position - 1] = 0;
    m_inputs.inputIds = token;
    m_inputs.kvCacheUpdateMask[position] = 1;
    m_inputs.decoderKeyPaddingMask[position] = 0;

    const TextDecoderInputs features{.input_ids = token,
                                     .cache_length = m_inputs.cacheLength,
                                     .key_cache = m_inputs.keyCache,
                                     .value_cache = m_inputs.valueCache,
                                     .kv_cache_update_mask = m_inputs.kvCacheUpdateMask,
                                     .decoder_key_padding_mask = m_inputs.decoderKeyPaddingMask,
                                     .encoder_output_embeds = &m_embeddings,
                                     .wantsLogits = !logits.empty(),
                                     .wantsAlignment = m_frames > 0};
    // The updates go straight to their place: the model reads only the positions before this one.
    const auto placeIn = [position](std::vector<float>& all, std::size_t width) {
        return std::span(all).subspan(position * width, width);
    };
    const TextDecoderOutputs places{.logits = logits,
                                    .key_cache_updates = placeIn(m_inputs.keyCache, m_width),
                                    .value_cache_updates = placeIn(m_inputs.valueCache, m_width),
                                    .alignment_heads_weights = placeIn(m_inputs.alignmentWeights, m_frames)};
    if (m_run)
        m_run({features, places, *m_scratch});
    else
        m_model.predict(features, places, *m_scratch);
    ++m_inputs.cacheLength;
}

} // namespace fenlo::whisper
