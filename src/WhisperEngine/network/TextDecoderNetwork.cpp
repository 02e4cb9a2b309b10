#include "WhisperEngine/network/TextDecoderNetwork.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/Size.h"
#include "WhisperEngine/network/TextDecoderStep.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>
#include <functional>

namespace fenlo::whisper {

namespace {

constexpr int longestSequence = 224; // of the published decoding, half of the model's own positions

[[noreturn]] void refuse(const char* message) {
    throw WhisperError(WhisperError::Kind::decodingFailed, message);
}

} // namespace

TextDecoderNetwork::Layer TextDecoderNetwork::loadLayer(const CompiledFile& file, const std::string& prefix) {
    const ModelArchitecture& net = file.identity().architecture;
    const int width = net.width, inner = net.decoderFeedForward;
    const auto linear = [&](const char* name, int outputs, int inputs) {
        return PackedLinear::load(file, prefix + name, outputs, inputs);
    };
    const auto norm = [&](const char* name) { return PackedNorm::load(file, prefix + name, width); };
    return {norm("self_norm"),
            linear("self_qkv", 3 * width, width),
            linear("self_out", width, width),
            norm("cross_norm"),
            linear("cross_q", width, width),
            linear("cross_out", width, width),
            linear("cross_kv", 2 * width, width).matMul(),
            norm("feed_norm"),
            linear("feed_in", inner, width),
            linear("feed_out", width, inner),
            {}};
}

TextDecoderNetwork::TextDecoderNetwork(CompiledFile file, ThreadPool& pool)
    : m_file(std::move(file)), m_net(m_file.identity().architecture), m_pool(pool),
      m_tokens(PackedLinear::load(m_file, "tokens", m_net.vocabularySize, m_net.width)),
      m_positions(m_file.floats("positions", {m_net.textPositions, m_net.width}).data()),
      m_norm(PackedNorm::load(m_file, "norm", m_net.width)) {
    for (int i = 0; i < m_net.decoderLayers; ++i)
        m_layers.push_back(loadLayer(m_file, "layers." + std::to_string(i) + "."));
    loadAlignmentHeads();
}

void TextDecoderNetwork::loadAlignmentHeads() {
    const std::span<const float> pairs = m_file.rows("alignment_heads", 2);
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
        // Compared as floats: only then is the conversion defined.
        const bool fits = pairs[i] >= 0 && pairs[i] < static_cast<float>(m_net.decoderLayers) && pairs[i + 1] >= 0 &&
                          pairs[i + 1] < static_cast<float>(m_net.decoderHeads);
        if (!fits)
            m_file.refuse("has damaged alignment heads");
        m_layers[static_cast<std::size_t>(pairs[i])].alignmentHeads.push_back(static_cast<int>(pairs[i + 1]));
        ++m_alignmentHeadCount;
    }
}

std::optional<int> TextDecoderNetwork::kvCacheMaxSequenceLength() const {
    return std::min(longestSequence, m_net.textPositions);
}

void TextDecoderNetwork::attach(AudioEmbeddings& embeddings) const {
    const int frames = m_net.audioPositions, width = m_net.width, headWidth = width / m_net.decoderHeads;
    if (embeddings.encoder_output_embeds.size() != size(frames, width))
        refuse("The audio embeddings have not the shape that the decoder expects.");
    const bool half = m_file.identity().unit == ComputeUnit::automatic;
    const std::size_t total = m_layers.size() * size(frames, width);
    auto cache = std::make_shared<CrossCache>();
    cache->owner = this;
    cache->halfKeys.resize(half ? total : 0);
    cache->halfValues.resize(half ? total : 0);
    cache->keys.resize(half ? 0 : total);
    cache->values.resize(half ? 0 : total);

    std::vector<float> joined(size(frames, 2 * width)); // [frames, keys and values]
    for (std::size_t i = 0; i < m_layers.size(); ++i) {
        m_layers[i].crossKeysValues.run(embeddings.encoder_output_embeds.data(), joined.data(), frames,
                                        Activation::none, false, m_pool);
        const auto apart = [&](int head) {
            const std::size_t start = i * size(frames, width) + size(head, frames * headWidth);
            for (int frame = 0; frame < frames; ++frame) {
                const float* key = joined.data() + size(frame, 2 * width) + size(head, headWidth);
                const std::size_t to = start + size(frame, headWidth);
                if (half) {
                    kernels::toHalf(key, cache->halfKeys.data() + to, headWidth);
                    kernels::toHalf(key + width, cache->halfValues.data() + to, headWidth);
                } else {
                    std::copy_n(key, headWidth, cache->keys.data() + to);
                    std::copy_n(key + width, headWidth, cache->values.data() + to);
                }
            }
        };
        m_pool.run(m_net.decoderHeads, std::ref(apart));
    }
    embeddings.derived = std::move(cache);
}

std::unique_ptr<TextDecoderModel::Scratch> TextDecoderNetwork::makeScratch() const {
    return std::make_unique<Workspace>(m_net);
}

void TextDecoderNetwork::predict(const TextDecoderInputs& inputs, const TextDecoderOutputs& outputs,
                                 Scratch& scratch) const {
    const auto dimension = size(m_net.decoderLayers, m_net.width);
    const AudioEmbeddings* embeddings = inputs.encoder_output_embeds;
    const auto* cross = embeddings ? dynamic_cast<const CrossCache*>(embeddings->derived.get()) : nullptr;
    auto* workspace = dynamic_cast<Workspace*>(&scratch);
    if (!cross || cross->owner != this || !workspace || workspace->architecture != m_net)
        refuse("The decoder was not attached to the audio embeddings.");
    if (inputs.input_ids < 0 || inputs.input_ids >= m_net.vocabularySize)
        refuse("The token lies outside the model's vocabulary.");
    const auto position = static_cast<std::size_t>(inputs.cache_length);
    if (inputs.cache_length < 0 || inputs.cache_length >= m_net.textPositions ||
        inputs.key_cache.size() < position * dimension || inputs.value_cache.size() < position * dimension ||
        inputs.decoder_key_padding_mask.size() < position)
        refuse("The sequence is longer than the decoder's cache.");
    if (outputs.key_cache_updates.size() != dimension || outputs.value_cache_updates.size() != dimension ||
        (inputs.wantsLogits && outputs.logits.size() != size(m_net.vocabularySize, 1)) ||
        (inputs.wantsAlignment && outputs.alignment_heads_weights.size() != size(m_net.audioPositions, 1)))
        refuse("The decoder's outputs have not the sizes of the model's.");
    Step(*this, inputs, outputs, *cross, *workspace).run();
}

} // namespace fenlo::whisper
