#include "ScriptedModels.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace fenlo::whisper::test {

void ScriptedDecoder::predict(const TextDecoderInputs& inputs, const TextDecoderOutputs& outputs, Scratch&) const {
    const SpecialTokens& special = tokenizer().specialTokens();
    const auto position = static_cast<std::size_t>(inputs.cache_length);
    if (fedPositions.empty() || inputs.cache_length <= fedPositions.back()) {
        m_pass = std::min<std::ptrdiff_t>(m_pass + 1, std::ssize(m_passes) - 1);
        fedTokens.emplace_back();
        fedPositions.clear();
    }
    fedTokens.back().push_back(inputs.input_ids);
    fedPositions.push_back(inputs.cache_length);

    // The masks agree with the length: this position is written; it and all before it count, those after it do not.
    EXPECT_EQ(inputs.kv_cache_update_mask[position], 1);
    EXPECT_EQ(std::ranges::count(inputs.kv_cache_update_mask, 1.0f), 1);
    EXPECT_EQ(std::ranges::count(inputs.decoder_key_padding_mask, 0.0f), inputs.cache_length + 1);
    EXPECT_TRUE(inputs.encoder_output_embeds->derived) << "the decoder was not attached to this window";
    // Each position leaves its mark in the cache, and finds the marks of all before it.
    for (std::size_t before = 0; before < position; ++before)
        EXPECT_EQ(inputs.key_cache[before * 4], static_cast<float>(before) + 1) << position;
    std::ranges::fill(outputs.key_cache_updates, static_cast<float>(position) + 1);
    std::ranges::fill(outputs.value_cache_updates, static_cast<float>(position) + 1);
    std::ranges::fill(outputs.alignment_heads_weights, static_cast<float>(position) + 1);

    if (!inputs.wantsLogits)
        return;
    const ScriptedPass& pass = m_passes[static_cast<std::size_t>(m_pass)];
    std::ranges::fill(outputs.logits, 0.0f);
    if (inputs.input_ids == special.startOfTranscriptToken)
        outputs.logits[static_cast<std::size_t>(special.noSpeechToken)] = pass.noSpeechScore;
    const auto step = inputs.cache_length - (promptLength - 1);
    if (step < 0)
        return;
    const auto index = static_cast<std::size_t>(step);
    const int token = index < pass.tokens.size() ? pass.tokens[index] : special.endToken;
    outputs.logits[static_cast<std::size_t>(token)] = pass.confidence;
}

} // namespace fenlo::whisper::test
