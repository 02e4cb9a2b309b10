#pragma once

#include <string>
#include <vector>

/// The checkpoints in their publishers' own repositories, under the names that the table of devices has for them.
///
/// Errors: WhisperError (modelsUnavailable) for what cannot be such a name.
namespace fenlo::whisper {

/// The repository that a variant's checkpoint comes from: "openai_whisper-small.en" from "openai/whisper-small.en".
/// Further parts of the name ("_turbo", "_626MB") tell how a checkpoint was packed for other runtimes; as the weights
/// are packed here, they make no difference.
std::string publisherRepository(const std::string& variant);

/// The one name of all those that lead to the same checkpoint, so that none is stored twice.
std::string plainVariant(const std::string& variant);

/// Every variant there is, those without further parts first.
std::vector<std::string> publisherModels();

} // namespace fenlo::whisper
