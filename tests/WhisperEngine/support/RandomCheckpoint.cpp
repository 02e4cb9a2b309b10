#include "WhisperEngine/support/RandomCheckpoint.h"
#include "base/Json.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace fenlo::test {

using nlohmann::json;
using whisper::ModelArchitecture;
namespace fs = std::filesystem;

namespace {

constexpr std::size_t blockElements = 1 << 16; // written at a time

bool is(const RandomTensor& tensor, const char* ending) {
    return tensor.name.ends_with(ending);
}

class Tensors {
public:
    explicit Tensors(const ModelArchitecture& net) : m_width(net.width) {
        linear("encoder.conv1", {m_width, net.melBands, 3});
        linear("encoder.conv2", {m_width, m_width, 3});
        add("encoder.embed_positions.weight", {net.audioPositions, m_width});
        for (int i = 0; i < net.encoderLayers; ++i) {
            const std::string layer = "encoder.layers." + std::to_string(i) + ".";
            attention(layer + "self_attn");
            feedForward(layer, net.encoderFeedForward);
        }
        norm("encoder.layer_norm");
        add("decoder.embed_tokens.weight", {net.vocabularySize, m_width});
        add("decoder.embed_positions.weight", {net.textPositions, m_width});
        for (int i = 0; i < net.decoderLayers; ++i) {
            const std::string layer = "decoder.layers." + std::to_string(i) + ".";
            attention(layer + "self_attn");
            attention(layer + "encoder_attn");
            feedForward(layer, net.decoderFeedForward);
        }
        norm("decoder.layer_norm");
    }

    std::vector<RandomTensor> all;

private:
    void add(const std::string& name, const std::vector<int>& shape) {
        all.push_back({"model." + name, {shape.begin(), shape.end()}});
    }
    void linear(const std::string& name, const std::vector<int>& shape) {
        add(name + ".weight", shape);
        if (!name.ends_with("k_proj"))
            add(name + ".bias", {shape[0]});
    }
    void norm(const std::string& name) { linear(name, {m_width}); }
    void attention(const std::string& name) {
        for (const char* part : {".q_proj", ".k_proj", ".v_proj", ".out_proj"})
            linear(name + part, {m_width, m_width});
        norm(name + "_layer_norm");
    }
    void feedForward(const std::string& layer, int inner) {
        linear(layer + "fc1", {inner, m_width});
        linear(layer + "fc2", {m_width, inner});
        norm(layer + "final_layer_norm");
    }

    const int m_width;
};

float amplitudeOf(const RandomTensor& tensor) {
    if (is(tensor, ".bias"))
        return 0.02f;
    if (is(tensor, "layer_norm.weight"))
        return 0.1f;
    if (is(tensor, "decoder.embed_positions.weight"))
        return 0.5f;
    return static_cast<float>(std::sqrt(3.0 / static_cast<double>(tensor.count() / tensor.shape[0])));
}

void sinusoids(std::uint64_t first, std::uint64_t width, std::span<float> dst) {
    const std::uint64_t half = width / 2;
    for (std::size_t i = 0; i < dst.size(); ++i) {
        const std::uint64_t position = (first + i) / width, channel = (first + i) % width;
        const double step = std::log(10000.0) / static_cast<double>(half - 1);
        const double angle = static_cast<double>(position) * std::exp(-step * static_cast<double>(channel % half));
        dst[i] = static_cast<float>(channel < half ? std::sin(angle) : std::cos(angle));
    }
}

/// Numbers [first, first + values.size()) of a tensor with wide channels.
void widen(const RandomTensor& tensor, std::uint64_t width, std::uint64_t first, std::span<float> values) {
    const std::uint64_t always[] = {width / 7, width / 3}, sometimes[] = {width / 2 + 1, width - 5};
    const std::uint64_t gained[] = {9, width / 5, width / 4 + 1, width * 2 / 3}, inner[] = {width / 6, width * 2};
    const auto each = [&](std::span<const std::uint64_t> chosen, bool areRows, float factor, float summand) {
        const std::uint64_t columns = tensor.shape.size() == 1 ? 1 : tensor.shape[1];
        for (std::size_t i = 0; i < values.size(); ++i)
            if (std::ranges::count(chosen, areRows ? (first + i) / columns : (first + i) % columns) > 0)
                values[i] = factor * values[i] + summand;
    };
    const bool leadsIntoStream = is(tensor, "fc2.weight") || is(tensor, "out_proj.weight");
    if (is(tensor, "embed_positions.weight"))
        each(always, false, 1.0f, 100.0f);
    else if (leadsIntoStream && tensor.name.find("layers.0.") != std::string::npos)
        each(sometimes, true, 100.0f, 0.0f);
    else if (is(tensor, "layer_norm.weight"))
        each(gained, true, 20.0f, 0.0f);
    else if (is(tensor, "fc1.weight"))
        each(inner, true, 30.0f, 0.0f);
}

void writeWeights(const fs::path& path, const RandomCheckpoint& checkpoint) {
    const std::vector<RandomTensor> tensors = tensorsOf(checkpoint.architecture);
    json header{{"__metadata__", {{"format", "pt"}}}};
    std::uint64_t offset = 0;
    for (const RandomTensor& tensor : tensors) {
        const std::uint64_t end = offset + tensor.count() * sizeof(std::uint16_t);
        header[tensor.name] = {{"dtype", "F16"}, {"shape", tensor.shape}, {"data_offsets", {offset, end}}};
        offset = end;
    }
    const std::string text = writeJson(header);
    const std::uint64_t length = text.size();
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(&length), sizeof length) << text;
    std::vector<float> block(blockElements);
    std::vector<std::uint16_t> halves(blockElements);
    for (const RandomTensor& tensor : tensors)
        for (std::uint64_t at = 0; at < tensor.count(); at += blockElements) {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(blockElements, tensor.count() - at));
            tensor.fill(at, std::span(block).first(count));
            if (checkpoint.hasWideChannels)
                widen(tensor, static_cast<std::uint64_t>(checkpoint.architecture.width), at,
                      std::span(block).first(count));
            std::transform(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count), halves.begin(), toHalf);
            file.write(reinterpret_cast<const char*>(halves.data()),
                       static_cast<std::streamsize>(count * sizeof(std::uint16_t)));
        }
    file.close();
    if (!file)
        throw std::runtime_error(path.string() + " cannot be written. Make room on the disk.");
}

} // namespace

std::uint64_t RandomTensor::count() const {
    std::uint64_t total = 1;
    for (const std::uint64_t size : shape)
        total *= size;
    return total;
}

void RandomTensor::fill(std::uint64_t first, std::span<float> dst, std::uint64_t skipped) const {
    if (is(*this, "encoder.embed_positions.weight"))
        return sinusoids(first, shape[1], dst);
    const float amplitude = amplitudeOf(*this), centre = is(*this, "layer_norm.weight") ? 1.0f : 0.0f;
    randomNumbers(name, skipped + first, dst);
    for (float& value : dst)
        value = centre + amplitude * value;
}

std::uint16_t toHalf(float value) {
    const std::uint32_t sign = std::bit_cast<std::uint32_t>(value) >> 16 & 0x8000u;
    // Multiplied by 2^-112 the number has the exponent of a half, and 13 bits too many.
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(std::fabs(value) * 0x1p-112f);
    return static_cast<std::uint16_t>(sign | (bits + 0xFFFu + (bits >> 13 & 1u)) >> 13);
}

std::vector<RandomTensor> tensorsOf(const ModelArchitecture& architecture) {
    return Tensors(architecture).all;
}

std::string configJson(const ModelArchitecture& net) {
    return writeJson(json{{"model_type", "whisper"},
                          {"activation_function", "gelu"},
                          {"d_model", net.width},
                          {"encoder_layers", net.encoderLayers},
                          {"encoder_attention_heads", net.encoderHeads},
                          {"encoder_ffn_dim", net.encoderFeedForward},
                          {"decoder_layers", net.decoderLayers},
                          {"decoder_attention_heads", net.decoderHeads},
                          {"decoder_ffn_dim", net.decoderFeedForward},
                          {"num_mel_bins", net.melBands},
                          {"vocab_size", net.vocabularySize},
                          {"max_source_positions", net.audioPositions},
                          {"max_target_positions", net.textPositions}},
                     1);
}

void randomNumbers(std::string_view name, std::uint64_t first, std::span<float> dst) {
    std::uint64_t seed = 0xCBF29CE484222325u;
    for (const char letter : name)
        seed = (seed ^ static_cast<unsigned char>(letter)) * 0x100000001B3u;
    for (std::size_t i = 0; i < dst.size(); ++i) {
        std::uint64_t z = seed + (first + i + 1) * 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        z ^= z >> 31;
        dst[i] = static_cast<float>(static_cast<std::int32_t>(z >> 40)) * 0x1p-23f - 1.0f;
    }
}

void RandomCheckpoint::write(const fs::path& folder) const {
    fs::create_directories(folder);
    std::ofstream(folder / "config.json") << configJson(architecture);
    const json heads = json::array({{architecture.decoderLayers - 1, 0}});
    std::ofstream(folder / "generation_config.json") << writeJson(json{{"alignment_heads", heads}}, 1);
    if (!tokenizer.empty())
        fs::copy_file(tokenizer, folder / "tokenizer.json", fs::copy_options::overwrite_existing);
    writeWeights(folder / "model.safetensors", *this);
}

} // namespace fenlo::test
