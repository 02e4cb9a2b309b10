#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace fenlo::whisper {

/// The sizes of one network.
struct ModelArchitecture {
    int width = 0; // of the residual stream, in encoder and decoder
    int encoderLayers = 0;
    int encoderHeads = 0;
    int encoderFeedForward = 0;
    int decoderLayers = 0;
    int decoderHeads = 0;
    int decoderFeedForward = 0;
    int melBands = 0;
    int vocabularySize = 0;
    int audioPositions = 0; // frames out of the encoder, two mel frames each
    int textPositions = 0;

    int melFrames() const { return 2 * audioPositions; }
    bool operator==(const ModelArchitecture&) const = default;

    /// The fields in a fixed order, as compiled files keep them.
    using Numbers = std::array<std::uint32_t, 16>;
    Numbers numbers() const;
    /// Checks the ranges. Errors: modelFault that names `source`.
    static ModelArchitecture fromNumbers(const Numbers& numbers, const std::string& source);
};

struct AlignmentHead {
    int layer = 0;
    int head = 0;
};

/// What `config.json` and `generation_config.json` tell of a model.
struct ModelConfig {
    ModelArchitecture architecture;
    std::vector<AlignmentHead> alignmentHeads; // whose attention follows the audio; never empty
};

/// Errors: modelFault that names the file and the field.
ModelConfig readModelConfig(const std::filesystem::path& modelFolder);

} // namespace fenlo::whisper
