#pragma once

#include "WhisperEngine/WhisperEngineConfig.h"
#include "speech/LocalTranscriber.h"

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

class Clock;
class HttpClient;
struct Deployment;

/// ~/.fenlo/models, where the models of this user are.
std::filesystem::path modelsDirectory();

/// The read-only folder of models that come with the program; it need not exist.
std::filesystem::path bundledModelsDirectory();

/// Tries the engine's instructions out in a process of this program (`fenlo engine-check`), once for each processor,
/// library and build, and remembers the result in the cache folder.
whisper::InstructionTrial instructionTrial();

/// An engine's configuration with the places and the repository of this installation.
whisper::WhisperEngineConfig engineConfig(const Deployment& deployment);

/// The state of an installed model. A model that was never used has no compiled files yet.
struct ModelCheck {
    std::string fault; // what keeps it from being loaded; empty when nothing does
    bool isPrepared = false;
};

/// Loads a model that is prepared, and looks through the files of another. Prepares and fetches nothing, so it is
/// quick.
ModelCheck checkModel(const std::filesystem::path& folder, const Deployment& deployment, Clock& clock);

/// The folder of the installed model that a name finds, without making or fetching anything.
std::optional<std::filesystem::path> findInstalledModel(const std::string& name);

/// The folder of a model that is on this machine: a folder's own path, an installed model that the name finds, or one
/// that comes with the program. Throws std::runtime_error with the remedy when there is none.
std::filesystem::path installedModel(const std::string& name, const Deployment& deployment, HttpClient& http,
                                     Clock& clock, std::stop_token stop);

/// Removes an installed model with what was compiled of it. False when there is none; throws WhisperError.
bool removeModel(const std::string& name);

/// Has an engine that is made of the configuration tell how far its download and its preparation are.
void tellSteps(whisper::WhisperEngineConfig& config, const LocalTranscriber::Steps& steps);

/// How offline mode gets its engine.
LocalTranscriber::EngineMaker localEngineMaker(const Deployment& deployment, HttpClient& http, Clock& clock);

} // namespace fenlo
