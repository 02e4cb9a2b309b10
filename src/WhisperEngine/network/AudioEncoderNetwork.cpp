#include "WhisperEngine/network/AudioEncoderNetwork.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/Size.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/LargeMemory.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>
#include <functional>

namespace fenlo::whisper {

namespace {

constexpr int rowsPerTask = 64;

/// Calls `work(first, last)` for blocks of rows, on the pool's threads.
void forRows(ThreadPool& pool, int rows, const std::function<void(int first, int last)>& work) {
    pool.run((rows + rowsPerTask - 1) / rowsPerTask,
             [&](int task) { work(task * rowsPerTask, std::min(rows, (task + 1) * rowsPerTask)); });
}

} // namespace

/// Of one call. The convolutions use the memory of what comes after them.
struct AudioEncoderNetwork::Buffers {
    explicit Buffers(const ModelArchitecture& net) : Buffers(net, size(net.audioPositions, net.width)) {}

    std::size_t padded, convolved, gathered, part; // sizes of the convolutions' parts, and of one of the others
    LargeMemory<float> memory;          // without values, so that the threads that write them first bring the pages in
    float* const state = memory.data(); // [audioPositions, width], as are the four behind it
    float* const normed = state + part;
    float* const query = normed + std::max(part, padded);
    float* const key = query + part;
    float* const value = key + part;
    float* const inner = query + std::max(3 * part, convolved); // [audioPositions, feed-forward]

    float* paddedFrames() const { return normed; }   // [melFrames + 2, melBands]
    float* convolvedFrames() const { return query; } // [melFrames + 2, width]
    float* gatheredFrames() const { return inner; }  // [frames, 3 channels]

private:
    Buffers(const ModelArchitecture& net, std::size_t each)
        : padded(size(net.melFrames() + 2, net.melBands)), convolved(size(net.melFrames() + 2, net.width)),
          gathered(std::max(size(net.melFrames(), 3 * net.melBands), 3 * each)), part(each),
          memory(part + std::max(part, padded) + std::max(3 * part, convolved) +
                 std::max(gathered, size(net.audioPositions, net.encoderFeedForward))) {}
};

AudioEncoderNetwork::Layer AudioEncoderNetwork::loadLayer(const CompiledFile& file, const std::string& prefix) {
    const ModelArchitecture& net = file.identity().architecture;
    const int width = net.width, inner = net.encoderFeedForward;
    const auto linear = [&](const char* name, int outputs, int inputs) {
        return PackedLinear::load(file, prefix + name, outputs, inputs);
    };
    const PackedLinear joined = linear("self_qkv", 3 * width, width);
    return {joined.bytes != nullptr,
            PackedNorm::load(file, prefix + "self_norm", width),
            joined.rows(0, width).matMul(),
            joined.rows(width, width).matMul(),
            joined.rows(2 * width, width).matMul(),
            linear("self_out", width, width).matMul(),
            PackedNorm::load(file, prefix + "feed_norm", width),
            linear("feed_in", inner, width).matMul(),
            linear("feed_out", width, inner).matMul()};
}

AudioEncoderNetwork::AudioEncoderNetwork(CompiledFile file, ThreadPool& pool)
    : m_file(std::move(file)), m_net(m_file.identity().architecture), m_pool(pool),
      m_conv1(FrameConvolution::load(m_file, "conv1", m_net.width, m_net.melBands, 1)),
      m_conv2(FrameConvolution::load(m_file, "conv2", m_net.width, m_net.width, 2)),
      m_positions(m_file.floats("positions", {m_net.audioPositions, m_net.width}).data()),
      m_norm(PackedNorm::load(m_file, "norm", m_net.width)) {
    for (int i = 0; i < m_net.encoderLayers; ++i)
        m_layers.push_back(loadLayer(m_file, "layers." + std::to_string(i) + "."));
}

void AudioEncoderNetwork::predict(std::span<const float> melspectrogram_features, AudioEmbeddings& output) const {
    predictUntil(melspectrogram_features, output, {});
}

void AudioEncoderNetwork::predictUntil(std::span<const float> melspectrogram_features, AudioEmbeddings& output,
                                       const std::stop_token& stop) const {
    if (melspectrogram_features.size() != size(m_net.melBands, m_net.melFrames()))
        throw WhisperError(WhisperError::Kind::decodingFailed, "The mel features have not the shape of the model's.");
    Buffers buffers(m_net);
    convolve(melspectrogram_features, buffers);
    for (const Layer& layer : m_layers) {
        if (stop.stop_requested())
            break;
        attend(layer, buffers);
        if (stop.stop_requested())
            break;
        feedForward(layer, buffers);
    }
    output.encoder_output_embeds.resize(buffers.part);
    output.derived.reset();
    normalize(m_norm, buffers.state, output.encoder_output_embeds.data());
}

void AudioEncoderNetwork::convolve(std::span<const float> features, Buffers& buffers) const {
    const int frames = m_net.melFrames(), bands = m_net.melBands, width = m_net.width, rows = m_net.audioPositions;

    // Frame after frame, with a frame of zeros at both ends.
    float* const padded = buffers.paddedFrames();
    std::fill_n(padded, bands, 0.0F);
    std::fill_n(padded + size(frames + 1, bands), bands, 0.0F);
    forRows(m_pool, frames, [&](int first, int last) {
        for (int band = 0; band < bands; ++band)
            for (int frame = first; frame < last; ++frame)
                padded[size(frame + 1, bands) + static_cast<std::size_t>(band)] =
                    features[size(band, frames) + static_cast<std::size_t>(frame)];
    });

    float* const convolved = buffers.convolvedFrames(); // padded likewise
    std::fill_n(convolved, width, 0.0F);
    std::fill_n(convolved + size(frames + 1, width), width, 0.0F);
    m_conv1.run(padded, convolved + width, frames, buffers.gatheredFrames(), m_pool);
    m_conv2.run(convolved, buffers.state, rows, buffers.gatheredFrames(), m_pool);
    forRows(m_pool, rows, [&](int first, int last) {
        kernels::add(buffers.state + size(first, width), m_positions + size(first, width), (last - first) * width);
    });
}

void AudioEncoderNetwork::attend(const Layer& layer, Buffers& buffers) const {
    const int rows = m_net.audioPositions;
    float* const state = buffers.state;
    float* const normed = buffers.normed;
    normalize(layer.selfNorm, state, normed);
    const MatMul::Output attended[] = {
        {layer.query, buffers.query}, {layer.key, buffers.key}, {layer.value, buffers.value}};
    MatMul::runEach(attended, normed, rows, m_pool);
    const auto& product = layer.isInt8 ? attendAllInt8 : attendAll;
    product(buffers.query, buffers.key, buffers.value, normed, rows, m_net.encoderHeads,
            m_net.width / m_net.encoderHeads, m_pool);
    layer.selfOut.run(normed, state, rows, Activation::none, true, m_pool);
}

void AudioEncoderNetwork::feedForward(const Layer& layer, Buffers& buffers) const {
    normalize(layer.feedNorm, buffers.state, buffers.normed);
    MatMul::runFeedForward(layer.feedIn, layer.feedOut, buffers.normed, buffers.inner, buffers.state,
                           m_net.audioPositions, m_pool);
}

void AudioEncoderNetwork::normalize(const PackedNorm& norm, const float* src, float* dst) const {
    const int rows = m_net.audioPositions, width = m_net.width;
    forRows(m_pool, rows, [=](int first, int last) {
        for (std::ptrdiff_t row = first; row < last; ++row)
            kernels::layerNorm(src + row * width, norm.gain, norm.shift, dst + row * width, width);
    });
}

} // namespace fenlo::whisper
