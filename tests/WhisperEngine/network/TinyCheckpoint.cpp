#include "WhisperEngine/network/TinyCheckpoint.h"

#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>

namespace fenlo::test {

namespace {

using Shape = std::vector<std::uint64_t>;

class Maker {
public:
    Maker(std::vector<TinyCheckpoint::Tensor>& tensors, unsigned seed) : m_tensors(tensors), m_random(seed) {}

    void add(const std::string& name, const Shape& shape, const std::string& type) {
        std::uint64_t count = 1;
        for (const std::uint64_t size : shape)
            count *= size;
        std::string data;
        for (std::uint64_t i = 0; i < count; ++i)
            if (type == "F32")
                append(data, static_cast<float>(m_random() % 1000) / 1000.0f - 0.5f);
            else // either half type: sign, a small exponent and mantissa
                append(data, static_cast<std::uint16_t>((m_random() & 0x8000) | (0x3400 + m_random() % 0x400)));
        m_tensors.push_back({"model." + name, type, shape, data});
    }

    void norm(const std::string& name) {
        add(name + ".weight", {8}, "F32");
        add(name + ".bias", {8}, "F32");
    }

    void linear(const std::string& name, std::uint64_t outputs, std::uint64_t inputs) {
        add(name + ".weight", {outputs, inputs}, "F16");
        if (!name.ends_with("k_proj"))
            add(name + ".bias", {outputs}, "F16");
    }

    void attention(const std::string& name) {
        for (const char* part : {".q_proj", ".k_proj", ".v_proj", ".out_proj"})
            linear(name + part, 8, 8);
        norm(name + "_layer_norm");
    }

    void feedForward(const std::string& layer) {
        linear(layer + "fc1", 16, 8);
        linear(layer + "fc2", 8, 16);
        norm(layer + "final_layer_norm");
    }

private:
    template <class Number>
    static void append(std::string& data, Number number) {
        data.append(reinterpret_cast<const char*>(&number), sizeof number);
    }

    std::vector<TinyCheckpoint::Tensor>& m_tensors;
    std::mt19937 m_random;
};

} // namespace

TinyCheckpoint::TinyCheckpoint(unsigned seed)
    : config(R"({"model_type": "whisper", "d_model": 8, "encoder_layers": 1, "encoder_attention_heads": 2,
 "encoder_ffn_dim": 16, "decoder_layers": 1, "decoder_attention_heads": 2, "decoder_ffn_dim": 16,
 "num_mel_bins": 8, "vocab_size": 32, "max_source_positions": 8, "max_target_positions": 12})") {
    Maker maker(tensors, seed);
    maker.add("encoder.conv1.weight", {8, 8, 3}, "F16");
    maker.add("encoder.conv1.bias", {8}, "F16");
    maker.add("encoder.conv2.weight", {8, 8, 3}, "F16");
    maker.add("encoder.conv2.bias", {8}, "F16");
    maker.add("encoder.embed_positions.weight", {8, 8}, "BF16");
    maker.attention("encoder.layers.0.self_attn");
    maker.feedForward("encoder.layers.0.");
    maker.norm("encoder.layer_norm");
    maker.add("decoder.embed_tokens.weight", {32, 8}, "F16");
    maker.add("decoder.embed_positions.weight", {12, 8}, "F32");
    maker.attention("decoder.layers.0.self_attn");
    maker.attention("decoder.layers.0.encoder_attn");
    maker.feedForward("decoder.layers.0.");
    maker.norm("decoder.layer_norm");
}

std::string TinyCheckpoint::pack(const std::vector<Tensor>& tensors) {
    nlohmann::json header{{"__metadata__", {{"format", "pt"}}}};
    std::string data;
    for (const Tensor& tensor : tensors) {
        header[tensor.name] = {{"dtype", tensor.type},
                               {"shape", tensor.shape},
                               {"data_offsets", {data.size(), data.size() + tensor.data.size()}}};
        data += tensor.data;
    }
    return safeTensors(header.dump(), data);
}

void TinyCheckpoint::write(const std::filesystem::path& folder) const {
    std::filesystem::create_directories(folder);
    writeFile(folder / "config.json", config);
    writeFile(folder / "model.safetensors", pack(tensors));
}

std::string safeTensors(const std::string& header, const std::string& data) {
    std::string length(8, '\0');
    const std::uint64_t size = header.size();
    std::memcpy(length.data(), &size, sizeof size);
    return length + header + data;
}

void writeFile(const std::filesystem::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

} // namespace fenlo::test
