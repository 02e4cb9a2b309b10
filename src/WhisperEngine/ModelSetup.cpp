#include "WhisperEngine/ModelSetup.h"

#include "WhisperEngine/Models/Checkpoint.h"
#include "WhisperEngine/Models/LocalModels.h"
#include "WhisperEngine/Models/ModelRepository.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Files.h"
#include "hub/HubClient.h"

#include <system_error>
#include <vector>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

hub::HubClient hubFor(const WhisperEngineConfig& config, HttpClient& http, Clock& clock) {
    hub::HubSettings settings = hub::HubSettings::fromEnvironment();
    settings.endpoint = config.modelEndpoint.value_or(settings.endpoint);
    settings.token = config.modelToken.value_or(settings.token);
    return {http, settings, clock};
}

/// A copy, because compiling writes beside the checkpoint.
fs::path copyBundled(const fs::path& bundled, const fs::path& base) {
    const std::string name = bundled.filename().string();
    const fs::path folder = base / name;
    if (!missingCheckpointFile(folder))
        return folder;
    const fs::path gathering = partialDownload(base, name);
    try {
        fs::remove_all(gathering);
        fs::create_directories(gathering);
        for (const auto& entry : fs::directory_iterator(bundled))
            if (entry.is_regular_file())
                fs::copy_file(entry, gathering / entry.path().filename());
        fs::remove_all(folder);
        fs::rename(gathering, folder);
    } catch (const fs::filesystem_error& error) {
        std::error_code ignored;
        fs::remove_all(gathering, ignored);
        throw WhisperError(WhisperError::Kind::modelsUnavailable, "cannot copy the model " + name + " to " +
                                                                      base.string() + ": " + error.code().message() +
                                                                      "; free some space or check the permissions");
    }
    return folder;
}

} // namespace

fs::path modelsFolder(const WhisperEngineConfig& config) {
    return config.downloadBase.value_or(files::dataDirectory() / "models");
}

fs::path installModel(const WhisperEngineConfig& config, HttpClient& http, Clock& clock, const Logging& logging,
                      std::stop_token stop) {
    const fs::path base = modelsFolder(config);
    if (config.model && config.bundledModels && isModelName(*config.model) &&
        !missingCheckpointFile(*config.bundledModels / *config.model))
        return copyBundled(*config.bundledModels / *config.model, base);

    hub::HubClient hub = hubFor(config, http, clock);
    const ModelRepository repository{config.modelRepo.value_or("")};
    const std::string name = config.model ? *config.model
                                          : fetchModelSupportConfig(hub, repository, base, logging, stop)
                                                .supportFor(hardwareIdentifier(), logging)
                                                .defaultModel;
    const std::string variant = chooseModel(hub, repository, name, base, logging, stop);
    const auto progress = [&](const hub::DownloadProgress& step) {
        if (config.downloadProgress)
            config.downloadProgress(step);
    };
    return download(hub, repository, variant, base, clock, progress, stop);
}

fs::path findTokenizer(const WhisperEngineConfig& config, const fs::path& modelFolder,
                       const std::string& tokenizerRepository, HttpClient& http, Clock& clock, const Logging& logging,
                       std::stop_token stop) {
    constexpr const char* name = "tokenizer.json";
    std::vector<fs::path> folders{modelFolder};
    if (config.tokenizerFolder && *config.tokenizerFolder != modelFolder)
        folders.insert(folders.begin(), *config.tokenizerFolder);
    for (const fs::path& folder : folders) {
        logging.debug("Checking for local tokenizer at " + folder.string());
        std::error_code error;
        if (fs::is_regular_file(folder / name, error)) {
            logging.debug("Found local tokenizer at " + folder.string());
            return folder / name;
        }
    }
    logging.debug("No tokenizer found in any local search paths");
    const fs::path& folder = folders.front();
    try {
        hubFor(config, http, clock).snapshot(tokenizerRepository, {name}, folder, {}, stop);
    } catch (const hub::HubError& error) {
        throw WhisperError(error.kind == hub::HubError::Kind::cancelled ? WhisperError::Kind::cancelled
                                                                        : WhisperError::Kind::tokenizerUnavailable,
                           error.what());
    }
    return folder / name;
}

} // namespace fenlo::whisper
