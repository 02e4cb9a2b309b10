#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace fenlo::test {

/// A checkpoint of Whisper's architecture with random weights, small enough to build, damage and compile in a moment:
/// width 8, 2 heads, one layer each, 8 mel bands, 8 audio and 12 text positions, 32 tokens.
struct TinyCheckpoint {
    struct Tensor {
        std::string name;
        std::string type; // F16, BF16 or F32
        std::vector<std::uint64_t> shape;
        std::string data;
    };

    explicit TinyCheckpoint(unsigned seed = 1);

    std::string config;
    std::vector<Tensor> tensors;

    /// The tensors in the safetensors format.
    static std::string pack(const std::vector<Tensor>& tensors);
    /// `config.json` and `model.safetensors`.
    void write(const std::filesystem::path& folder) const;
};

/// A safetensors file with any header.
std::string safeTensors(const std::string& header, const std::string& data);

void writeFile(const std::filesystem::path& file, const std::string& content);

} // namespace fenlo::test
