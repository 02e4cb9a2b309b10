#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Which files make a checkpoint as its publisher stores it: the descriptions, the tokenizer and the weights, in one
/// file or in shards that an index names.
namespace fenlo::whisper {

/// Of a repository's files below `folder` (empty, or ending in a slash), those that are needed, whole paths. Throws
/// WhisperError (modelsUnavailable) when one is missing; `source` is what the message calls the repository.
std::vector<std::string> checkpointFiles(const std::vector<std::string>& paths, const std::string& folder,
                                         const std::string& source);

/// The first file that a folder lacks to be a checkpoint; none when it is whole.
std::optional<std::string> missingCheckpointFile(const std::filesystem::path& folder);

} // namespace fenlo::whisper
