#pragma once

#include "WhisperEngine/network/ModelConfig.h"

#include <cstdint>
#include <string>
#include <vector>

/// Which tensors a compiled file has and what they are made of: the bridge between the names of the publishers'
/// checkpoints and those of the networks here.
namespace fenlo::whisper {

/// Rows from one tensor of the checkpoint.
struct PackedPart {
    std::string source; // empty for zeros
    int rows = 0;
    float factor = 1.0f;
};

struct PackedTensor {
    enum class Form {
        plain,       // 32-bit floats in any case
        linear,      // [rows, columns], of 8 bits with one scale a row unless the precision is float32
        embedding,   // the same; of 8 bits, what each row has of all rows' mean is taken off and kept
        convolution, // [rows, columns] from [rows, channels, 3]: each row reordered to [3, channels]
        constant,    // `values`
    };

    std::string name;
    Form form = Form::plain;
    int rows = 0;
    int columns = 0; // 0 for a vector
    std::vector<PackedPart> parts;
    std::vector<float> values;
};

std::vector<PackedTensor> packedMelSpectrogram(const ModelConfig& config);
std::vector<PackedTensor> packedAudioEncoder(const ModelConfig& config);
std::vector<PackedTensor> packedTextDecoder(const ModelConfig& config);

} // namespace fenlo::whisper
