#pragma once

#include "WhisperEngine/WhisperEngineConfig.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace fenlo {
class Clock;
class HttpClient;
} // namespace fenlo

/// The steps of an engine's creation that end with files on the disk.
///
/// Threads: any; calls block.
/// Errors:  WhisperError of the kinds modelsUnavailable, tokenizerUnavailable and cancelled.
namespace fenlo::whisper {

/// Where models are kept: the configured folder, or ~/.fenlo/models.
std::filesystem::path modelsFolder(const WhisperEngineConfig& config);

/// Chooses the model that the configuration asks for, or the default of this machine, and brings it to the disk: from
/// the models that come with the program when one has that very name, else from the hub. Gives its folder.
std::filesystem::path installModel(const WhisperEngineConfig& config, HttpClient& http, Clock& clock,
                                   const Logging& logging, std::stop_token stop);

/// The tokenizer.json of a loaded model: in the tokenizer's folder, in the model's, or fetched from the publisher.
std::filesystem::path findTokenizer(const WhisperEngineConfig& config, const std::filesystem::path& modelFolder,
                                    const std::string& tokenizerRepository, HttpClient& http, Clock& clock,
                                    const Logging& logging, std::stop_token stop);

} // namespace fenlo::whisper
