#include "WhisperEngine/network/PackedTensors.h"

#include "WhisperEngine/network/MelFilters.h"

#include <cmath>
#include <utility>

namespace fenlo::whisper {

namespace {

using Form = PackedTensor::Form;

PackedTensor plain(const std::string& name, const std::string& source, int rows, int columns = 0) {
    return {name, Form::plain, rows, columns, {{source, rows}}, {}};
}

/// A tensor "X.weight" and its "X.bias".
class Collector {
public:
    explicit Collector(std::string source) : m_source(std::move(source)) {}

    void norm(const std::string& name, const std::string& source, int width) {
        tensors.push_back(plain(name + ".weight", m_source + source + ".weight", width));
        tensors.push_back(plain(name + ".bias", m_source + source + ".bias", width));
    }

    void linear(const std::string& name, const std::string& source, int rows, int columns) {
        stacked(name, {{source, rows}}, columns, "");
    }

    void convolution(const std::string& name, int rows, int channels) {
        tensors.push_back(
            {name + ".weight", Form::convolution, rows, 3 * channels, {{m_source + name + ".weight", rows}}, {}});
        tensors.push_back(plain(name + ".bias", m_source + name + ".bias", rows));
    }

    /// Several linear layers as one; that of the source `unbiased` has no bias, which is a bias of zeros.
    void stacked(const std::string& name, const std::vector<PackedPart>& parts, int columns,
                 const std::string& unbiased) {
        PackedTensor weight{name + ".weight", Form::linear, 0, columns, {}, {}};
        PackedTensor bias{name + ".bias", Form::plain, 0, 0, {}, {}};
        for (const PackedPart& part : parts) {
            weight.rows += part.rows;
            weight.parts.push_back({m_source + part.source + ".weight", part.rows, part.factor});
            const std::string source = part.source == unbiased ? "" : m_source + part.source + ".bias";
            bias.parts.push_back({source, part.rows, part.factor});
        }
        bias.rows = weight.rows;
        tensors.push_back(std::move(weight));
        tensors.push_back(std::move(bias));
    }

    std::vector<PackedTensor> tensors;

private:
    std::string m_source; // a prefix
};

/// Queries carry the attention's factor 1 / sqrt(head width) in their weights.
float queryFactor(int width, int heads) {
    return 1.0f / std::sqrt(static_cast<float>(width) / static_cast<float>(heads));
}

void selfAttention(Collector& collector, const std::string& layer, int width, int heads) {
    const std::string attention = layer + "self_attn.";
    collector.norm(layer + "self_norm", layer + "self_attn_layer_norm", width);
    collector.stacked(layer + "self_qkv",
                      {{attention + "q_proj", width, queryFactor(width, heads)},
                       {attention + "k_proj", width},
                       {attention + "v_proj", width}},
                      width, attention + "k_proj");
    collector.linear(layer + "self_out", attention + "out_proj", width, width);
}

void feedForward(Collector& collector, const std::string& layer, int width, int inner) {
    collector.norm(layer + "feed_norm", layer + "final_layer_norm", width);
    collector.linear(layer + "feed_in", layer + "fc1", inner, width);
    collector.linear(layer + "feed_out", layer + "fc2", width, inner);
}

} // namespace

std::vector<PackedTensor> packedMelSpectrogram(const ModelConfig& config) {
    const int bands = config.architecture.melBands;
    return {{"window", Form::constant, mel::fftSize, 0, {}, mel::hannWindow()},
            {"filters", Form::constant, bands, mel::bins, {}, mel::filters(bands)}};
}

std::vector<PackedTensor> packedAudioEncoder(const ModelConfig& config) {
    const ModelArchitecture& net = config.architecture;
    Collector collector("encoder.");
    collector.convolution("conv1", net.width, net.melBands);
    collector.convolution("conv2", net.width, net.width);
    collector.tensors.push_back(plain("positions", "encoder.embed_positions.weight", net.audioPositions, net.width));
    for (int i = 0; i < net.encoderLayers; ++i) {
        const std::string layer = "layers." + std::to_string(i) + ".";
        selfAttention(collector, layer, net.width, net.encoderHeads);
        feedForward(collector, layer, net.width, net.encoderFeedForward);
    }
    collector.norm("norm", "layer_norm", net.width);
    return std::move(collector.tensors);
}

std::vector<PackedTensor> packedTextDecoder(const ModelConfig& config) {
    const ModelArchitecture& net = config.architecture;
    Collector collector("decoder.");
    collector.tensors.push_back({"tokens.weight",
                                 Form::embedding,
                                 net.vocabularySize,
                                 net.width,
                                 {{"decoder.embed_tokens.weight", net.vocabularySize}},
                                 {}});
    collector.tensors.push_back(plain("positions", "decoder.embed_positions.weight", net.textPositions, net.width));
    for (int i = 0; i < net.decoderLayers; ++i) {
        const std::string layer = "layers." + std::to_string(i) + ".";
        const std::string cross = layer + "encoder_attn.";
        selfAttention(collector, layer, net.width, net.decoderHeads);
        collector.norm(layer + "cross_norm", layer + "encoder_attn_layer_norm", net.width);
        collector.stacked(layer + "cross_q", {{cross + "q_proj", net.width, queryFactor(net.width, net.decoderHeads)}},
                          net.width, "");
        collector.stacked(layer + "cross_kv", {{cross + "k_proj", net.width}, {cross + "v_proj", net.width}}, net.width,
                          cross + "k_proj");
        collector.linear(layer + "cross_out", cross + "out_proj", net.width, net.width);
        feedForward(collector, layer, net.width, net.decoderFeedForward);
    }
    collector.norm("norm", "layer_norm", net.width);

    PackedTensor heads{"alignment_heads", Form::constant, static_cast<int>(config.alignmentHeads.size()), 2, {}, {}};
    for (const AlignmentHead& head : config.alignmentHeads) {
        heads.values.push_back(static_cast<float>(head.layer));
        heads.values.push_back(static_cast<float>(head.head));
    }
    collector.tensors.push_back(std::move(heads));
    return std::move(collector.tensors);
}

} // namespace fenlo::whisper
