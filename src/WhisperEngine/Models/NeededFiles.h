#pragma once

#include <string>
#include <vector>

namespace fenlo::whisper {

/// Of a repository's files below `folder` (empty, or ending in a slash), those that make a checkpoint, as whole paths.
/// Throws WhisperError (modelsUnavailable) when one is missing; `source` is what the message calls the repository.
std::vector<std::string> neededFiles(const std::vector<std::string>& paths, const std::string& folder,
                                     const std::string& source);

} // namespace fenlo::whisper
