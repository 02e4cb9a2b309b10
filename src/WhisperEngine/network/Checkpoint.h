#pragma once

#include "WhisperEngine/network/MappedFile.h"
#include "WhisperEngine/network/SafeTensors.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace fenlo::whisper {

/// The published weights of a model folder: `model.safetensors`, or the shards that `model.safetensors.index.json`
/// names.
///
/// Errors: modelFault.
class Checkpoint {
public:
    explicit Checkpoint(const std::filesystem::path& modelFolder);

    /// The tensor of this name, with or without the prefix "model.", which must have this shape and a type of
    /// floating-point numbers.
    const SafeTensors::Tensor& tensor(const std::string& name, const std::vector<std::uint64_t>& shape) const;

private:
    struct Shard {
        MappedFile file;
        SafeTensors tensors;
    };

    std::filesystem::path m_folder;
    std::vector<Shard> m_shards;
};

/// What a compiled file remembers of its checkpoint: SHA-256 over the configuration and, of each weights file, name,
/// size, time of change and header. The weights themselves are not read.
using Fingerprint = std::array<std::uint8_t, 32>;
Fingerprint checkpointFingerprint(const std::filesystem::path& modelFolder);

} // namespace fenlo::whisper
