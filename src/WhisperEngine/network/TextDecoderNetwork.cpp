#include "WhisperEngine/network/TextDecoderNetwork.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/Size.h"
#include "WhisperEngine/network/TextDecoderStep.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>
#include <functional>
#include <unistd.h>

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

std::size_t TextDecoderNetwork::cachedWidth() const {
    return size(m_net.decoderLayers, m_net.width);
}

std::optional<int> TextDecoderNetwork::kvCacheMaxSequenceLength() const {
    return std::min(longestSequence, m_net.textPositions);
}

void TextDecoderNetwork::attachUntil(AudioEmbeddings& embeddings, const std::stop_token& stop) const {
    const int frames = m_net.audioPositions, width = m_net.width, headWidth = width / m_net.decoderHeads;
    if (embeddings.encoder_output_embeds.size() != size(frames, width))
        refuse("The audio embeddings have not the shape that the decoder expects.");
    const bool inBytes = m_file.identity().unit == ComputeUnit::automatic;
    auto cache = std::make_shared<CrossCache>(*this, inBytes);
    const LargeMemory<float> joined(size(frames, 2 * width)); // [frames, keys and values]
    for (std::size_t i = 0; i < m_layers.size(); ++i) {
        if (stop.stop_requested())
            return;
        m_layers[i].crossKeysValues.run(embeddings.encoder_output_embeds.data(), joined.data(), frames,
                                        Activation::none, false, m_pool);
        const auto apart = [&](int head) {
            const float* const keys = joined.data() + size(head, headWidth);
            const std::size_t stride = size(2 * width, 1);
            if (inBytes)
                return kernels::quantizeHead(keys, keys + width, stride, cache->head(i, head));
            float* key = cache->keys.data() + i * size(frames, width) + size(head, frames * headWidth);
            float* value = cache->values.data() + (key - cache->keys.data());
            for (std::size_t frame = 0; frame < size(frames, 1); ++frame, key += headWidth, value += headWidth) {
                std::copy_n(keys + frame * stride, headWidth, key);
                std::copy_n(keys + width + frame * stride, headWidth, value);
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
    Row row = rowOf(inputs, outputs, scratch);
    Step(*this, {&row, 1}).run();
}

void TextDecoderNetwork::predict(std::span<const Call> calls) const {
    std::vector<Row> rows;
    for (const Call& call : calls)
        rows.push_back(rowOf(call.inputs, call.outputs, call.scratch));
    constexpr std::size_t most = Step::mostRows;
    for (std::size_t first = 0; first < rows.size(); first += most)
        Step(*this, std::span(rows).subspan(first, std::min(most, rows.size() - first))).run();
}

TextDecoderNetwork::Row TextDecoderNetwork::rowOf(const TextDecoderInputs& inputs, const TextDecoderOutputs& outputs,
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
    return {inputs, outputs, *cross, *workspace};
}

int TextDecoderNetwork::windowsAtOnce() const {
    const std::size_t number = m_file.identity().unit == ComputeUnit::automatic ? 1 : sizeof(float);
    const std::size_t audio = 2 * m_layers.size() * size(m_net.audioPositions, m_net.width) * number;
    const std::size_t text = 2 * (m_layers.size() + 1) * size(longestSequence, m_net.width) * sizeof(float);
    const auto memory =
        static_cast<std::size_t>(::sysconf(_SC_PHYS_PAGES)) * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return static_cast<int>(std::clamp<std::size_t>(memory / 8 / (audio + text), 1, Step::mostRows));
}

} // namespace fenlo::whisper
