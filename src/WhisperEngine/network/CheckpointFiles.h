#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>

/// The files of a checkpoint as its publisher stores it: the descriptions, the tokenizer, and the weights in one file
/// or in shards that an index names.
namespace fenlo::whisper {

namespace checkpointFiles {
inline constexpr const char* config = "config.json";
inline constexpr const char* generation = "generation_config.json"; // may be missing
inline constexpr const char* tokenizer = "tokenizer.json";
inline constexpr const char* weights = "model.safetensors";
inline constexpr const char* index = "model.safetensors.index.json";
inline constexpr const char* shards = "model-*-of-*.safetensors";
inline constexpr const char* required[] = {config, tokenizer};
} // namespace checkpointFiles

/// The names of the files with the weights, in order.
/// Errors: ModelDamage for an index that cannot be trusted.
std::set<std::string> weightsFiles(const std::filesystem::path& folder);

/// What keeps a folder from being a checkpoint, worded to follow its name ("lacks config.json"); none when each file is
/// there. What the weights hold is not looked at.
std::optional<std::string> checkpointFault(const std::filesystem::path& folder);

} // namespace fenlo::whisper
