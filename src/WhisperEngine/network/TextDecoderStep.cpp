#include "WhisperEngine/network/TextDecoderStep.h"

#include "WhisperEngine/network/Size.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <functional>

namespace fenlo::whisper {

namespace {

/// As much as a thread reads while work is handed to another one.
constexpr std::size_t bytesPerTask = 512 << 10;

} // namespace

TextDecoderNetwork::Workspace::Workspace(const ModelArchitecture& net)
    : architecture(net), state(size(net.width, 1)), normed(state.size()), query(state.size()), attended(state.size()),
      product(state.size()), inner(size(net.decoderFeedForward, 1)), bytes(std::max(state.size(), inner.size())),
      mask(size(net.textPositions, 1)), keys(size(net.textPositions, net.width)), values(keys.size()),
      scores(size(net.decoderHeads, std::max(net.audioPositions, net.textPositions))) {}

TextDecoderNetwork::Step::Step(const TextDecoderNetwork& network, const TextDecoderInputs& inputs,
                               const TextDecoderOutputs& outputs, const CrossCache& cross, Workspace& work)
    : m_network(network), m_net(network.m_net), m_headWidth(m_net.width / m_net.decoderHeads), m_inputs(inputs),
      m_outputs(outputs), m_cross(cross), m_work(work) {}

void TextDecoderNetwork::Step::run() {
    embed();
    if (m_inputs.wantsAlignment)
        std::ranges::fill(m_outputs.alignment_heads_weights, 0.0f);
    for (std::size_t i = 0; i < m_network.m_layers.size(); ++i) {
        attendSelf(i);
        attendAudio(i);
        feedForward(m_network.m_layers[i]);
    }
    if (!m_inputs.wantsLogits)
        return;
    const PackedNorm& norm = m_network.m_norm;
    kernels::layerNorm(m_work.state.data(), norm.gain, norm.shift, m_work.normed.data(), m_net.width);
    const Input input = inputFor(m_network.m_tokens, m_work.normed.data());
    forRows(m_network.m_tokens,
            [&](int first, int last) { product(m_network.m_tokens, input, m_outputs.logits.data(), first, last); });
}

void TextDecoderNetwork::Step::embed() {
    const PackedLinear token = m_network.m_tokens.rows(m_inputs.input_ids, 1);
    const float* position = m_network.m_positions + size(m_inputs.cache_length, m_net.width);
    for (std::size_t i = 0; i < m_work.state.size(); ++i)
        m_work.state[i] =
            position[i] + (token.bytes ? token.scales[0] * static_cast<float>(token.bytes[i]) : token.weights[i]);

    // The mask never hides the token itself.
    std::copy_n(m_inputs.decoder_key_padding_mask.begin(), m_inputs.cache_length, m_work.mask.begin());
    m_work.mask[static_cast<std::size_t>(m_inputs.cache_length)] = 0.0f;
}

void TextDecoderNetwork::Step::attendSelf(std::size_t index) {
    const Layer& layer = m_network.m_layers[index];
    kernels::layerNorm(m_work.state.data(), layer.selfNorm.gain, layer.selfNorm.shift, m_work.normed.data(),
                       m_net.width);
    const Input input = inputFor(layer.selfQkv, m_work.normed.data());
    const std::size_t cached = size(m_inputs.cache_length, m_headWidth) * 2 * sizeof(float);
    forHeads(size(3 * m_headWidth, m_net.width) + cached, [&](int head) { attendSelf(index, head, input); });
    addProduct(layer.selfOut, m_work.attended.data());
}

void TextDecoderNetwork::Step::attendSelf(std::size_t index, int head, const Input& input) {
    const PackedLinear& joined = m_network.m_layers[index].selfQkv;
    const int width = m_net.width, length = m_inputs.cache_length;
    const std::size_t inHead = size(head, m_headWidth);
    const std::size_t inCache = index * size(width, 1) + inHead;
    const std::size_t stride = m_network.m_layers.size() * size(width, 1);

    // The cached positions and behind them this one, without gaps.
    float* const keys = m_work.keys.data() + inHead * size(m_net.textPositions, 1);
    float* const values = m_work.values.data() + inHead * size(m_net.textPositions, 1);
    for (int position = 0; position < length; ++position) {
        const std::size_t from = static_cast<std::size_t>(position) * stride + inCache;
        std::copy_n(m_inputs.key_cache.data() + from, m_headWidth, keys + size(position, m_headWidth));
        std::copy_n(m_inputs.value_cache.data() + from, m_headWidth, values + size(position, m_headWidth));
    }
    float* const key = keys + size(length, m_headWidth);
    float* const value = values + size(length, m_headWidth);
    float* const query = m_work.query.data() + inHead;
    const int first = head * m_headWidth;
    product(joined.rows(first, m_headWidth), input, query, 0, m_headWidth);
    product(joined.rows(width + first, m_headWidth), input, key, 0, m_headWidth);
    product(joined.rows(2 * width + first, m_headWidth), input, value, 0, m_headWidth);
    std::copy_n(key, m_headWidth, m_outputs.key_cache_updates.data() + inCache);
    std::copy_n(value, m_headWidth, m_outputs.value_cache_updates.data() + inCache);

    float* const scores = m_work.scores.data() + m_work.scores.size() / size(m_net.decoderHeads, 1) * size(head, 1);
    kernels::attendOne(query, keys, values, size(m_headWidth, 1), m_work.mask.data(), scores,
                       m_work.attended.data() + inHead, length + 1, m_headWidth);
}

void TextDecoderNetwork::Step::attendAudio(std::size_t index) {
    const Layer& layer = m_network.m_layers[index];
    kernels::layerNorm(m_work.state.data(), layer.crossNorm.gain, layer.crossNorm.shift, m_work.normed.data(),
                       m_net.width);
    const Input input = inputFor(layer.crossQuery, m_work.normed.data());
    const std::size_t number = m_cross.keys.empty() ? sizeof(std::uint16_t) : sizeof(float);
    const std::size_t audio = size(m_net.audioPositions, m_headWidth) * 2 * number;
    forHeads(size(m_headWidth, m_net.width) + audio, [&](int head) { attendAudio(index, head, input); });
    addProduct(layer.crossOut, m_work.attended.data());

    if (!m_inputs.wantsAlignment)
        return;
    const std::size_t stride = m_work.scores.size() / size(m_net.decoderHeads, 1);
    const float share = 1.0f / static_cast<float>(m_network.m_alignmentHeadCount);
    for (const int head : layer.alignmentHeads)
        for (std::size_t i = 0; i < m_outputs.alignment_heads_weights.size(); ++i)
            m_outputs.alignment_heads_weights[i] += share * m_work.scores[size(head, 1) * stride + i];
}

void TextDecoderNetwork::Step::attendAudio(std::size_t index, int head, const Input& input) {
    const int frames = m_net.audioPositions;
    const std::size_t inHead = size(head, m_headWidth);
    const std::size_t start = index * size(frames, m_net.width) + inHead * size(frames, 1);
    float* const query = m_work.query.data();
    product(m_network.m_layers[index].crossQuery, input, query, head * m_headWidth, (head + 1) * m_headWidth);
    float* const scores = m_work.scores.data() + m_work.scores.size() / size(m_net.decoderHeads, 1) * size(head, 1);
    const auto attend = [&](const auto& keys, const auto& values) {
        kernels::attendOne(query + inHead, keys.data() + start, values.data() + start, size(m_headWidth, 1), nullptr,
                           scores, m_work.attended.data() + inHead, frames, m_headWidth);
    };
    if (m_cross.keys.empty())
        attend(m_cross.halfKeys, m_cross.halfValues);
    else
        attend(m_cross.keys, m_cross.values);
}

void TextDecoderNetwork::Step::feedForward(const Layer& layer) {
    kernels::layerNorm(m_work.state.data(), layer.feedNorm.gain, layer.feedNorm.shift, m_work.normed.data(),
                       m_net.width);
    const Input input = inputFor(layer.feedIn, m_work.normed.data());
    forRows(layer.feedIn, [&](int first, int last) {
        product(layer.feedIn, input, m_work.inner.data(), first, last);
        kernels::gelu(m_work.inner.data() + first, last - first);
    });
    addProduct(layer.feedOut, m_work.inner.data());
}

/// Adds a branch's result to the residual stream.
void TextDecoderNetwork::Step::addProduct(const PackedLinear& linear, const float* src) {
    const Input input = inputFor(linear, src);
    forRows(linear, [&](int first, int last) {
        product(linear, input, m_work.product.data(), first, last);
        kernels::add(m_work.state.data() + first, m_work.product.data() + first, last - first);
    });
}

TextDecoderNetwork::Step::Input TextDecoderNetwork::Step::inputFor(const PackedLinear& linear, const float* src) {
    if (!linear.bytes)
        return {src, nullptr, 0};
    const float scale = kernels::quantize(src, m_work.bytes.data(), linear.inputs);
    return {src, m_work.bytes.data(), scale};
}

void TextDecoderNetwork::Step::product(const PackedLinear& linear, const Input& input, float* dst, int firstRow,
                                       int lastRow) {
    if (linear.bytes)
        kernels::matVecInt8(linear.bytes, linear.scales, linear.bias, input.bytes, input.scale, dst, firstRow, lastRow,
                            linear.inputs);
    else
        kernels::matVec(linear.weights, linear.bias, input.values, dst, firstRow, lastRow, linear.inputs);
}

template <class Work>
void TextDecoderNetwork::Step::forHeads(std::size_t bytesPerHead, const Work& work) {
    const int heads = m_net.decoderHeads;
    const std::size_t worth = std::max<std::size_t>(1, bytesPerHead * size(heads, 1) / bytesPerTask);
    const int tasks = static_cast<int>(std::min({worth, size(heads, 1), size(m_network.m_pool.size(), 1)}));
    const auto share = [&](int task) {
        for (int head = heads * task / tasks; head < heads * (task + 1) / tasks; ++head)
            work(head);
    };
    if (tasks == 1)
        share(0);
    else
        m_network.m_pool.run(tasks, std::ref(share)); // a reference fits into std::function without memory of its own
}

template <class Work>
void TextDecoderNetwork::Step::forRows(const PackedLinear& linear, const Work& work) {
    const std::size_t bytes = size(linear.outputs, linear.inputs) * (linear.bytes ? 1 : sizeof(float));
    const std::size_t worth = std::max<std::size_t>(1, bytes / bytesPerTask);
    const auto tasks = static_cast<std::int64_t>(std::min(worth, size(m_network.m_pool.size(), 1)));
    const auto share = [&](int task) {
        const std::int64_t outputs = linear.outputs;
        work(static_cast<int>(outputs * task / tasks), static_cast<int>(outputs * (task + 1) / tasks));
    };
    if (tasks == 1)
        share(0);
    else
        m_network.m_pool.run(static_cast<int>(tasks), std::ref(share));
}

} // namespace fenlo::whisper
