#pragma once

#include "WhisperEngine/WhisperEngineConfig.h"
#include "WhisperEngine/network/ModelPlace.h"

#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

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

/// What to do about a damaged model.
std::string repairRemedy(const WhisperEngineConfig& config, const std::filesystem::path& modelFolder);

/// The tokenizer.json of a loaded model: in the tokenizer's folder, in the model's, or fetched from the publisher into
/// the folder that compiled files go to.
std::filesystem::path findTokenizer(const WhisperEngineConfig& config, const ModelPlace& place,
                                    const std::string& tokenizerRepository, HttpClient& http, Clock& clock,
                                    const Logging& logging, std::stop_token stop);

struct Repair {
    std::filesystem::path folder;
    std::vector<std::string> fetched; // names of files
    std::string unchecked;            // why the files could not be compared; empty when they were
};

/// Makes an installed model sound again: compares every file with what its publisher's repository (or the program, for
/// a model that comes with it) gave, and fetches what is damaged or missing. The network is needed only then, or where
/// it is not known what the files should be. What was compiled is dropped.
Repair repairModel(const WhisperEngineConfig& config, const std::string& name, HttpClient& http, Clock& clock,
                   std::stop_token stop);

} // namespace fenlo::whisper
