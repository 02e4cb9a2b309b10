#pragma once

#include "WhisperEngine/network/CompiledFile.h"
#include "WhisperEngine/runtime/MatMul.h"

#include <cstdint>
#include <string>

namespace fenlo::whisper {

/// One linear layer of a compiled file, of 32-bit floats or of 8 bits with a scale for each row.
///
/// Lifetime: views of the file.
struct PackedLinear {
    const float* weights = nullptr;     // [outputs, inputs], or
    const std::int8_t* bytes = nullptr; // [outputs, inputs] and
    const float* scales = nullptr;      // [outputs], and of an embedding
    const float* mean = nullptr;        // [inputs], of all rows, of which each has
    const float* shares = nullptr;      // [outputs] beside its bytes
    const float* bias = nullptr;        // [outputs], or none
    int outputs = 0;
    int inputs = 0;

    /// "<name>.weight", "<name>.weight.scales" and, where they are there, "<name>.weight.mean" with
    /// "<name>.weight.shares", and "<name>.bias".
    static PackedLinear load(const CompiledFile& file, const std::string& name, int outputs, int inputs);

    PackedLinear rows(int first, int count) const;
    MatMul matMul() const;
};

struct PackedNorm {
    const float* gain = nullptr; // [width]
    const float* shift = nullptr;

    static PackedNorm load(const CompiledFile& file, const std::string& name, int width);
};

} // namespace fenlo::whisper
