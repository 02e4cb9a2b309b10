#pragma once

#include "WhisperEngine/Logging.h"

#include <optional>
#include <string>
#include <string_view>

namespace fenlo::whisper {

/// The published sizes of the Whisper model; those ending in En know English only.
enum class ModelVariant { tiny, tinyEn, base, baseEn, small, smallEn, medium, mediumEn, large, largev2, largev3 };

/// "tiny.en", "large-v3" and so on.
std::string textOf(ModelVariant variant);

/// The variant in a model's name: "openai_whisper-small.en" is smallEn. None when the name has none.
std::optional<ModelVariant> variantOfName(std::string_view modelName);

/// The repository on the hub with the variant's tokenizer, such as "openai/whisper-tiny".
std::string tokenizerRepository(ModelVariant variant);

/// False for the vocabulary of the English-only models.
bool isMultilingual(int logitsSize);

/// The variant by the decoder's logits size and the encoder's width; the name decides when those do not.
ModelVariant detectVariant(int logitsSize, std::optional<int> encoderWidth, std::string_view modelName,
                           const Logging& log);

} // namespace fenlo::whisper
