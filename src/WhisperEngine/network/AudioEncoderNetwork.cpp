#include "WhisperEngine/network/AudioEncoderNetwork.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/Size.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>
#include <functional>

namespace fenlo::whisper {

namespace {

constexpr int rowsPerTask = 64;

/// A convolution of three frames as a product: row t holds frames t * step, t * step + 1 and t * step + 2 of the padded
/// source, which lie one behind the other.
void gatherFrames(const float* padded, float* dst, int rows, int step, int channels) {
    for (int row = 0; row < rows; ++row)
        std::copy_n(padded + static_cast<std::ptrdiff_t>(row) * step * channels, 3 * channels,
                    dst + static_cast<std::ptrdiff_t>(row) * 3 * channels);
}

} // namespace

/// Of one call.
struct AudioEncoderNetwork::Buffers {
    explicit Buffers(const ModelArchitecture& net)
        : state(size(net.audioPositions, net.width)), normed(state.size()), query(state.size()), key(state.size()),
          value(state.size()), inner(size(net.audioPositions, net.encoderFeedForward)) {}

    std::vector<float> state, normed, query, key, value; // [audioPositions, width]
    std::vector<float> inner;                            // [audioPositions, feed-forward]
};

AudioEncoderNetwork::Layer AudioEncoderNetwork::loadLayer(const CompiledFile& file, const std::string& prefix) {
    const ModelArchitecture& net = file.identity().architecture;
    const int width = net.width, inner = net.encoderFeedForward;
    const auto linear = [&](const char* name, int outputs, int inputs) {
        return PackedLinear::load(file, prefix + name, outputs, inputs);
    };
    const PackedLinear joined = linear("self_qkv", 3 * width, width);
    return {PackedNorm::load(file, prefix + "self_norm", width),
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
      m_conv1(PackedLinear::load(m_file, "conv1", m_net.width, 3 * m_net.melBands).matMul()),
      m_conv2(PackedLinear::load(m_file, "conv2", m_net.width, 3 * m_net.width).matMul()),
      m_positions(m_file.floats("positions", {m_net.audioPositions, m_net.width}).data()),
      m_norm(PackedNorm::load(m_file, "norm", m_net.width)) {
    for (int i = 0; i < m_net.encoderLayers; ++i)
        m_layers.push_back(loadLayer(m_file, "layers." + std::to_string(i) + "."));
}

void AudioEncoderNetwork::predict(std::span<const float> melspectrogram_features, AudioEmbeddings& output) const {
    if (melspectrogram_features.size() != size(m_net.melBands, m_net.melFrames()))
        throw WhisperError(WhisperError::Kind::decodingFailed, "The mel features have not the shape of the model's.");
    Buffers buffers(m_net);
    convolve(melspectrogram_features, buffers);
    for (const Layer& layer : m_layers)
        run(layer, buffers);
    output.encoder_output_embeds.resize(buffers.state.size());
    output.derived.reset();
    normalize(m_norm, buffers.state.data(), output.encoder_output_embeds.data());
}

void AudioEncoderNetwork::convolve(std::span<const float> features, Buffers& buffers) const {
    const int frames = m_net.melFrames(), bands = m_net.melBands, width = m_net.width, rows = m_net.audioPositions;

    // Frame after frame, with a frame of zeros at both ends.
    std::vector<float> padded(size(frames + 2, bands));
    for (int band = 0; band < bands; ++band)
        for (int frame = 0; frame < frames; ++frame)
            padded[size(frame + 1, bands) + static_cast<std::size_t>(band)] =
                features[size(band, frames) + static_cast<std::size_t>(frame)];
    std::vector<float> gathered(std::max(size(frames, 3 * bands), size(rows, 3 * width)));
    gatherFrames(padded.data(), gathered.data(), frames, 1, bands);

    std::vector<float> first(size(frames + 2, width)); // padded likewise
    m_conv1.run(gathered.data(), first.data() + width, frames, Activation::gelu, false, m_pool);
    gatherFrames(first.data(), gathered.data(), rows, 2, width);
    m_conv2.run(gathered.data(), buffers.state.data(), rows, Activation::gelu, false, m_pool);
    kernels::add(buffers.state.data(), m_positions, static_cast<int>(buffers.state.size()));
}

void AudioEncoderNetwork::run(const Layer& layer, Buffers& buffers) const {
    const int rows = m_net.audioPositions;
    float* const state = buffers.state.data();
    float* const normed = buffers.normed.data();
    normalize(layer.selfNorm, state, normed);
    layer.query.run(normed, buffers.query.data(), rows, Activation::none, false, m_pool);
    layer.key.run(normed, buffers.key.data(), rows, Activation::none, false, m_pool);
    layer.value.run(normed, buffers.value.data(), rows, Activation::none, false, m_pool);
    attendAll(buffers.query.data(), buffers.key.data(), buffers.value.data(), normed, rows, m_net.encoderHeads,
              m_net.width / m_net.encoderHeads, m_pool);
    layer.selfOut.run(normed, state, rows, Activation::none, true, m_pool);

    normalize(layer.feedNorm, state, normed);
    layer.feedIn.run(normed, buffers.inner.data(), rows, Activation::gelu, false, m_pool);
    layer.feedOut.run(buffers.inner.data(), state, rows, Activation::none, true, m_pool);
}

void AudioEncoderNetwork::normalize(const PackedNorm& norm, const float* src, float* dst) const {
    const int rows = m_net.audioPositions, width = m_net.width;
    m_pool.run((rows + rowsPerTask - 1) / rowsPerTask, [=](int task) {
        for (int row = task * rowsPerTask; row < std::min(rows, (task + 1) * rowsPerTask); ++row) {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(row) * width;
            kernels::layerNorm(src + at, norm.gain, norm.shift, dst + at, width);
        }
    });
}

} // namespace fenlo::whisper
