#include "WhisperEngine/network/TextDecoderStep.h"

#include "WhisperEngine/network/Size.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <array>
#include <functional>

namespace fenlo::whisper {

namespace {

/// A thread reads as much in some microseconds, and work is handed to another one in one of them.
constexpr std::size_t bytesPerTask = 64 << 10;
/// More tasks than threads: one that is held up for a moment leaves its share to the others.
constexpr int tasksPerThread = 4;

/// Rows of 32-bit weights that stay in the cache for the next decoding.
constexpr int weightsTogether = 16;

} // namespace

TextDecoderNetwork::CrossCache::CrossCache(const TextDecoderNetwork& network, bool inBytes) : owner(&network) {
    const ModelArchitecture& net = network.m_net;
    const int headWidth = net.width / net.decoderHeads;
    const std::size_t heads = size(net.decoderLayers, net.decoderHeads);
    if (inBytes) {
        numbers = LargeMemory<std::int8_t>(heads * kernels::ByteHead::numberCount(net.audioPositions, headWidth));
        scales = LargeMemory<float>(heads * kernels::ByteHead::scaleCount(net.audioPositions, headWidth));
    } else {
        keys = LargeMemory<float>(heads * size(net.audioPositions, headWidth));
        values = LargeMemory<float>(heads * size(net.audioPositions, headWidth));
    }
}

kernels::ByteHead TextDecoderNetwork::CrossCache::head(std::size_t layer, int head) const {
    const ModelArchitecture& net = owner->m_net;
    const int headWidth = net.width / net.decoderHeads;
    const std::size_t index = layer * size(net.decoderHeads, 1) + size(head, 1);
    return {numbers.data() + index * kernels::ByteHead::numberCount(net.audioPositions, headWidth),
            scales.data() + index * kernels::ByteHead::scaleCount(net.audioPositions, headWidth), net.audioPositions,
            headWidth};
}

TextDecoderNetwork::Workspace::Workspace(const ModelArchitecture& net)
    : architecture(net), state(size(net.width, 1)), normed(state.size()), query(state.size()), attended(state.size()),
      product(state.size()), inner(size(net.decoderFeedForward, 1)), bytes(std::max(state.size(), inner.size())),
      mask(size(net.textPositions, 1)), keys(size(net.textPositions, net.width)), values(keys.size()),
      scores(size(net.decoderHeads, std::max(net.audioPositions, net.textPositions))) {}

TextDecoderNetwork::Step::Step(const TextDecoderNetwork& network, std::span<Row> rows)
    : m_network(network), m_net(network.m_net), m_headWidth(m_net.width / m_net.decoderHeads), m_rows(rows) {}

void TextDecoderNetwork::Step::run() {
    for (const Row& row : m_rows)
        embed(row);
    for (std::size_t i = 0; i < m_network.m_layers.size(); ++i) {
        attendSelf(i);
        attendAudio(i);
        feedForward(m_network.m_layers[i]);
    }
    if (std::ranges::none_of(m_rows, [](const Row& row) { return row.inputs.wantsLogits; }))
        return;
    normalize(m_network.m_norm);
    const PackedLinear& tokens = m_network.m_tokens;
    take(tokens, &Workspace::normed);
    if (tokens.mean)
        for (Row& row : m_rows)
            kernels::matVec(tokens.mean, nullptr, row.values, &row.common, 0, 1, m_net.width);
    forRows(tokens, [&](int first, int last) {
        multiply(tokens, first, last,
                 [](const Row& row) { return row.inputs.wantsLogits ? row.outputs.logits.data() : nullptr; });
        if (tokens.mean)
            addShares(first, last);
    });
}

/// What the tokens' rows have of their mean.
void TextDecoderNetwork::Step::addShares(int first, int last) const {
    for (const Row& row : m_rows)
        if (row.inputs.wantsLogits)
            for (int token = first; token < last; ++token)
                row.outputs.logits[static_cast<std::size_t>(token)] += row.common * m_network.m_tokens.shares[token];
}

void TextDecoderNetwork::Step::embed(const Row& row) const {
    Workspace& work = row.work;
    const PackedLinear token = m_network.m_tokens.rows(row.inputs.input_ids, 1);
    const float* position = m_network.m_positions + size(row.inputs.cache_length, m_net.width);
    for (std::size_t i = 0; i < work.state.size(); ++i) {
        const float own = token.bytes ? token.scales[0] * static_cast<float>(token.bytes[i]) : token.weights[i];
        work.state[i] = position[i] + (token.mean ? token.shares[0] * token.mean[i] + own : own);
    }

    // The mask never hides the token itself.
    std::copy_n(row.inputs.decoder_key_padding_mask.begin(), row.inputs.cache_length, work.mask.begin());
    work.mask[static_cast<std::size_t>(row.inputs.cache_length)] = 0.0f;
    if (row.inputs.wantsAlignment)
        std::ranges::fill(row.outputs.alignment_heads_weights, 0.0f);
}

void TextDecoderNetwork::Step::attendSelf(std::size_t index) {
    const Layer& layer = m_network.m_layers[index];
    normalize(layer.selfNorm);
    take(layer.selfQkv, &Workspace::normed);
    std::size_t cachedBytes = 0;
    for (const Row& row : m_rows)
        cachedBytes += size(row.inputs.cache_length, m_headWidth) * 2 * sizeof(float);
    forHeads(size(3 * m_headWidth, m_net.width) + cachedBytes, [&](int head) {
        const int first = head * m_headWidth;
        const auto part = [&](int which) { return layer.selfQkv.rows(which * m_net.width + first, m_headWidth); };
        multiply(part(0), 0, m_headWidth, [&](const Row& row) { return row.work.query.data() + first; });
        multiply(part(1), 0, m_headWidth, [&](const Row& row) { return cached(row, index, head).key; });
        multiply(part(2), 0, m_headWidth, [&](const Row& row) { return cached(row, index, head).value; });
        for (const Row& row : m_rows)
            attendSelf(row, index, head);
    });
    addProduct(layer.selfOut, &Workspace::attended);
}

/// The row's query, key and value are in their places.
void TextDecoderNetwork::Step::attendSelf(const Row& row, std::size_t index, int head) const {
    const int length = row.inputs.cache_length;
    const std::size_t inHead = size(head, m_headWidth);
    const std::size_t inCache = index * size(m_net.width, 1) + inHead;
    const Cached own = cached(row, index, head);
    if (!isInPlace(row)) { // the cached positions before this one, without gaps
        for (int position = 0; position < length; ++position) {
            const std::size_t from = static_cast<std::size_t>(position) * m_network.cachedWidth() + inCache;
            std::copy_n(row.inputs.key_cache.data() + from, m_headWidth, own.keys + size(position, m_headWidth));
            std::copy_n(row.inputs.value_cache.data() + from, m_headWidth, own.values + size(position, m_headWidth));
        }
        std::copy_n(own.key, m_headWidth, row.outputs.key_cache_updates.data() + inCache);
        std::copy_n(own.value, m_headWidth, row.outputs.value_cache_updates.data() + inCache);
    }
    kernels::attendOne(row.work.query.data() + inHead, own.keys, own.values, own.stride, row.work.mask.data(),
                       scores(row, head), row.work.attended.data() + inHead, length + 1, m_headWidth);
}

/// Whether this position's key and value belong right behind those of the cache.
bool TextDecoderNetwork::Step::isInPlace(const Row& row) const {
    const std::size_t behind = static_cast<std::size_t>(row.inputs.cache_length) * m_network.cachedWidth();
    return row.outputs.key_cache_updates.data() == row.inputs.key_cache.data() + behind &&
           row.outputs.value_cache_updates.data() == row.inputs.value_cache.data() + behind;
}

TextDecoderNetwork::Step::Cached TextDecoderNetwork::Step::cached(const Row& row, std::size_t index, int head) const {
    const std::size_t length = size(row.inputs.cache_length, 1);
    const std::size_t inHead = size(head, m_headWidth);
    const auto all = [&](float* keys, float* values, std::size_t stride) {
        return Cached{keys, values, keys + length * stride, values + length * stride, stride};
    };
    if (!isInPlace(row))
        return all(row.work.keys.data() + inHead * size(m_net.textPositions, 1),
                   row.work.values.data() + inHead * size(m_net.textPositions, 1), size(m_headWidth, 1));
    const std::size_t stride = m_network.cachedWidth();
    const std::size_t back = length * stride;
    const std::size_t inCache = index * size(m_net.width, 1) + inHead;
    return all(row.outputs.key_cache_updates.data() - back + inCache,
               row.outputs.value_cache_updates.data() - back + inCache, stride);
}

float* TextDecoderNetwork::Step::scores(const Row& row, int head) const {
    return row.work.scores.data() + row.work.scores.size() / size(m_net.decoderHeads, 1) * size(head, 1);
}

void TextDecoderNetwork::Step::attendAudio(std::size_t index) {
    const Layer& layer = m_network.m_layers[index];
    normalize(layer.crossNorm);
    take(layer.crossQuery, &Workspace::normed);
    const std::size_t number = m_rows.front().cross.isInBytes() ? 1 : sizeof(float);
    const std::size_t audio = size(m_net.audioPositions, m_headWidth) * 2 * number * m_rows.size();
    forHeads(size(m_headWidth, m_net.width) + audio, [&](int head) {
        multiply(layer.crossQuery, head * m_headWidth, (head + 1) * m_headWidth,
                 [](const Row& row) { return row.work.query.data(); });
        for (const Row& row : m_rows)
            attendAudio(row, index, head);
    });
    addProduct(layer.crossOut, &Workspace::attended);
    for (const Row& row : m_rows)
        if (row.inputs.wantsAlignment)
            addAlignment(row, layer);
}

/// The row's query is in its place.
void TextDecoderNetwork::Step::attendAudio(const Row& row, std::size_t index, int head) const {
    const int frames = m_net.audioPositions;
    const std::size_t inHead = size(head, m_headWidth);
    const float* const query = row.work.query.data() + inHead;
    float* const dst = row.work.attended.data() + inHead;
    if (row.cross.isInBytes())
        return kernels::attendBytes(query, row.cross.head(index, head), scores(row, head), dst);
    const std::size_t start = index * size(frames, m_net.width) + inHead * size(frames, 1);
    kernels::attendOne(query, row.cross.keys.data() + start, row.cross.values.data() + start, size(m_headWidth, 1),
                       nullptr, scores(row, head), dst, frames, m_headWidth);
}

void TextDecoderNetwork::Step::addAlignment(const Row& row, const Layer& layer) const {
    const std::span<float> weights = row.outputs.alignment_heads_weights;
    const float share = 1.0f / static_cast<float>(m_network.m_alignmentHeadCount);
    for (const int head : layer.alignmentHeads) {
        const float* const attention = scores(row, head);
        for (std::size_t i = 0; i < weights.size(); ++i)
            weights[i] += share * attention[i];
    }
}

void TextDecoderNetwork::Step::feedForward(const Layer& layer) {
    normalize(layer.feedNorm);
    take(layer.feedIn, &Workspace::normed);
    forRows(layer.feedIn, [&](int first, int last) {
        multiply(layer.feedIn, first, last, [](const Row& row) { return row.work.inner.data(); });
        for (const Row& row : m_rows)
            kernels::gelu(row.work.inner.data() + first, last - first);
    });
    addProduct(layer.feedOut, &Workspace::inner);
}

/// Adds a branch's result to the residual stream.
void TextDecoderNetwork::Step::addProduct(const PackedLinear& linear, std::vector<float> Workspace::*src) {
    take(linear, src);
    forRows(linear, [&](int first, int last) {
        multiply(linear, first, last, [](const Row& row) { return row.work.product.data(); });
        for (const Row& row : m_rows)
            kernels::add(row.work.state.data() + first, row.work.product.data() + first, last - first);
    });
}

void TextDecoderNetwork::Step::normalize(const PackedNorm& norm) {
    for (const Row& row : m_rows)
        kernels::layerNorm(row.work.state.data(), norm.gain, norm.shift, row.work.normed.data(), m_net.width);
}

void TextDecoderNetwork::Step::take(const PackedLinear& linear, std::vector<float> Workspace::*src) {
    for (Row& row : m_rows) {
        row.values = (row.work.*src).data();
        if (linear.bytes)
            row.scale = kernels::quantize(row.values, row.work.bytes.data(), linear.inputs, row.work.wide);
    }
}

template <class Place>
void TextDecoderNetwork::Step::multiply(const PackedLinear& linear, int first, int last, const Place& place) const {
    if (linear.bytes) {
        std::array<kernels::ByteVector, mostRows> vectors;
        std::size_t count = 0;
        for (const Row& row : m_rows)
            if (float* const dst = place(row))
                vectors[count++] = {row.work.bytes.data(), row.scale, dst, &row.work.wide};
        kernels::matVecsInt8({linear.bytes, linear.scales, linear.bias, linear.inputs}, {vectors.data(), count}, first,
                             last);
        return;
    }
    for (int from = first; from < last; from += weightsTogether)
        for (const Row& row : m_rows)
            if (float* const dst = place(row))
                kernels::matVec(linear.weights, linear.bias, row.values, dst, from,
                                std::min(last, from + weightsTogether), linear.inputs);
}

std::size_t TextDecoderNetwork::Step::mostTasks() const {
    const int threads = m_network.m_pool.size();
    return threads == 1 ? 1 : size(threads, tasksPerThread);
}

template <class Work>
void TextDecoderNetwork::Step::forHeads(std::size_t bytesPerHead, const Work& work) const {
    const int heads = m_net.decoderHeads;
    const std::size_t worth = std::max<std::size_t>(1, bytesPerHead * size(heads, 1) / bytesPerTask);
    const int tasks = static_cast<int>(std::min({worth, size(heads, 1), mostTasks()}));
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
void TextDecoderNetwork::Step::forRows(const PackedLinear& linear, const Work& work) const {
    const std::size_t bytes = size(linear.outputs, linear.inputs) * (linear.bytes ? 1 : sizeof(float));
    const std::size_t worth = std::max<std::size_t>(1, bytes / bytesPerTask);
    const auto tasks = static_cast<std::int64_t>(std::min(worth, mostTasks()));
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
