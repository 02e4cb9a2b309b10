#include "WhisperEngine/network/TinyCheckpoint.h"
#include "WhisperEngine/support/RandomCheckpoint.h"
#include "base/Json.h"

#include <bit>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

namespace fenlo::test {

namespace {

constexpr whisper::ModelArchitecture architecture{.width = 8,
                                                  .encoderLayers = 1,
                                                  .encoderHeads = 2,
                                                  .encoderFeedForward = 16,
                                                  .decoderLayers = 1,
                                                  .decoderHeads = 2,
                                                  .decoderFeedForward = 16,
                                                  .melBands = 8,
                                                  .vocabularySize = 32,
                                                  .audioPositions = 8,
                                                  .textPositions = 12};

/// Each of the three types occurs.
std::string typeOf(const std::string& tensor) {
    if (tensor.ends_with("encoder.embed_positions.weight"))
        return "BF16";
    const bool isWide = tensor.find("layer_norm") != std::string::npos || tensor.find("positions") != std::string::npos;
    return isWide ? "F32" : "F16";
}

template <class Number>
void append(std::string& data, Number number) {
    data.append(reinterpret_cast<const char*>(&number), sizeof number);
}

std::string bytesOf(const std::vector<float>& values, const std::string& type) {
    std::string data;
    for (const float value : values)
        if (type == "F32")
            append(data, value);
        else
            append(data, type == "F16" ? toHalf(value)
                                       : static_cast<std::uint16_t>(std::bit_cast<std::uint32_t>(value) >> 16));
    return data;
}

} // namespace

TinyCheckpoint::TinyCheckpoint(unsigned seed) : config(configJson(architecture)) {
    for (const RandomTensor& tensor : tensorsOf(architecture)) {
        std::vector<float> values(tensor.count());
        tensor.fill(0, values, std::uint64_t{1000} * seed);
        const std::string type = typeOf(tensor.name);
        tensors.push_back({tensor.name, type, tensor.shape, bytesOf(values, type)});
    }
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
    return safeTensors(writeJson(header), data);
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
