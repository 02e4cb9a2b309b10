#pragma once

#include <string>
#include <vector>

/// Checkpoints in their publishers' own repositories, by the names in the table of devices.
///
/// Errors: WhisperError (modelsUnavailable) for any other name.
namespace fenlo::whisper {

/// The repository that a variant's checkpoint comes from: "openai_whisper-small.en" from "openai/whisper-small.en".
/// Further parts of the name ("_turbo", "_626MB") say how a checkpoint was packed for other runtimes and make no
/// difference here.
std::string publisherRepository(const std::string& variant);

/// One name for all names of the same checkpoint, so that no checkpoint is stored twice.
std::string plainVariant(const std::string& variant);

/// Every variant, those without further parts first.
std::vector<std::string> publisherModels();

} // namespace fenlo::whisper
