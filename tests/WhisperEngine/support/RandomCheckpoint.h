#pragma once

#include "WhisperEngine/network/ModelConfig.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::test {

/// A checkpoint of Whisper's architecture with random weights, in the publishers' names and in half precision.
///
/// The numbers come from the names alone, so that another program can make the same ones (see
/// scripts/make_shapes_reference.py): number `i` of a tensor is `centre + amplitude * (u / 2^23 - 1)` in 32-bit floats,
/// rounded to half precision, where `u` is the upper 24 bits of splitmix64 at step `i + 1` from the seed FNV-1a 64 of
/// the name.
///
///   tensor                           centre   amplitude
///   layer_norm.weight                1        0.1
///   every .bias                      0        0.02
///   decoder.embed_positions.weight   0        0.5
///   other .weight                    0        sqrt(3 / inputs of a row), which makes the variance 1 / inputs
///   encoder.embed_positions.weight   the published sines and cosines
///
/// Published models have a few channels that are a hundred times the others; with `hasWideChannels` this one has them
/// as well. Two channels of the residual stream are so in all positions, two as the audio and the text make them, four
/// by their gain in each norm, and two between the layers of a feed-forward.
struct RandomCheckpoint {
    whisper::ModelArchitecture architecture;
    std::filesystem::path tokenizer; // copied, unless empty
    bool hasWideChannels = false;

    /// Makes the folder and writes `config.json`, `generation_config.json` and the weights, in little memory. Errors:
    /// std::runtime_error when the disk refuses.
    void write(const std::filesystem::path& folder) const;
};

/// A tensor of such a checkpoint.
struct RandomTensor {
    std::string name;
    std::vector<std::uint64_t> shape;

    std::uint64_t count() const;
    /// Numbers [first, first + dst.size()). `skipped` numbers of the generator are left out first, which gives another
    /// tensor.
    void fill(std::uint64_t first, std::span<float> dst, std::uint64_t skipped = 0) const;
};

/// All tensors, in the publishers' order.
std::vector<RandomTensor> tensorsOf(const whisper::ModelArchitecture& architecture);

/// What `config.json` says of the architecture.
std::string configJson(const whisper::ModelArchitecture& architecture);

/// The nearest half, of two the even one, on every processor. (The runtime's kernel may round towards zero.)
std::uint16_t toHalf(float value);

/// Numbers [first, first + dst.size()) of the generator, in [-1, 1).
void randomNumbers(std::string_view name, std::uint64_t first, std::span<float> dst);

} // namespace fenlo::test
