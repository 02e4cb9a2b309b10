#include "WhisperEngine/ModelSetup.h"

#include "WhisperEngine/Models/LocalModels.h"
#include "WhisperEngine/Models/ModelRepository.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/CheckpointFiles.h"
#include "WhisperEngine/network/ModelFiles.h"
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
    if (!checkpointFault(folder))
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

/// The name of the installed model, damaged or not, that a name finds.
std::string installedName(const fs::path& base, const std::string& name) {
    std::error_code error;
    std::vector<std::string> names;
    for (const LocalModel& model : listLocalModels(base))
        names.push_back(model.name);
    if (isModelName(name) && fs::exists(partialDownload(base, name), error))
        names.push_back(name); // a repair that was interrupted
    std::string found;
    for (const std::string& candidate : names)
        if (candidate.find(name) != std::string::npos && (found.empty() || candidate.size() < found.size()))
            found = candidate;
    if (name.empty() || found.empty())
        throw WhisperError(WhisperError::Kind::modelsUnavailable, "there is no model \"" + name + "\" in " +
                                                                      base.string() +
                                                                      "; the list of models has the names");
    return found;
}

/// Copies what differs from the program's own copy.
std::vector<std::string> repairFromBundled(const fs::path& bundled, const fs::path& folder) {
    std::vector<std::string> copied;
    for (const auto& entry : fs::directory_iterator(bundled)) {
        const fs::path name = entry.path().filename();
        const auto content = files::read(entry.path());
        if (!entry.is_regular_file() || !content || files::read(folder / name) == content)
            continue;
        if (!files::writeAtomically(folder / name, *content))
            throw WhisperError(WhisperError::Kind::modelsUnavailable, "cannot write " + (folder / name).string() +
                                                                          "; free some space or check the permissions");
        copied.push_back(name.string());
    }
    return copied;
}

/// As far as can be told without its publisher.
bool isUsable(const fs::path& folder) {
    try {
        checkCheckpoint(folder, {});
        [[maybe_unused]] const WhisperTokenizer loads(hub::Tokenizer::load(folder / "tokenizer.json"));
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

void dropCompiled(const fs::path& folder) {
    std::error_code ignored;
    for (const char* name : {"MelSpectrogram", "AudioEncoder", "TextDecoder", "float32"})
        fs::remove_all(folder / name, ignored);
    removeCached(folder);
}

} // namespace

fs::path modelsFolder(const WhisperEngineConfig& config) {
    return config.downloadBase.value_or(files::dataDirectory() / "models");
}

fs::path installModel(const WhisperEngineConfig& config, HttpClient& http, Clock& clock, const Logging& logging,
                      std::stop_token stop) {
    const fs::path base = modelsFolder(config);
    if (config.model && config.bundledModels && isModelName(*config.model) &&
        !checkpointFault(*config.bundledModels / *config.model))
        return copyBundled(*config.bundledModels / *config.model, base);

    hub::HubClient hub = hubFor(config, http, clock);
    const ModelDownloads downloads{hub, {config.modelRepo.value_or("")}, base, clock, config.downloadProgress};
    const std::string name =
        config.model
            ? *config.model
            : fetchModelSupportConfig(downloads, logging, stop).supportFor(hardwareIdentifier(), logging).defaultModel;
    return download(downloads, chooseModel(downloads, name, logging, stop), stop);
}

fs::path findTokenizer(const WhisperEngineConfig& config, const ModelPlace& place,
                       const std::string& tokenizerRepository, HttpClient& http, Clock& clock, const Logging& logging,
                       std::stop_token stop) {
    constexpr const char* name = "tokenizer.json";
    std::vector<fs::path> folders{place.checkpoint};
    if (place.compiled != place.checkpoint)
        folders.push_back(place.compiled);
    if (config.tokenizerFolder && *config.tokenizerFolder != place.checkpoint)
        folders.insert(folders.begin(), *config.tokenizerFolder);
    for (const fs::path& folder : folders) {
        logging.debug("Checking for local tokenizer at {}", folder.string());
        std::error_code error;
        if (fs::is_regular_file(folder / name, error)) {
            logging.debug("Found local tokenizer at {}", folder.string());
            return folder / name;
        }
    }
    logging.debug("No tokenizer found in any local search paths");
    const fs::path folder = config.tokenizerFolder.value_or(place.compiled);
    try {
        hubFor(config, http, clock).snapshot({tokenizerRepository}, {{name}}, folder, {}, stop);
    } catch (const hub::HubError& error) {
        throw WhisperError(error.kind == hub::HubError::Kind::cancelled ? WhisperError::Kind::cancelled
                                                                        : WhisperError::Kind::tokenizerUnavailable,
                           error.what());
    }
    return folder / name;
}

std::string repairRemedy(const WhisperEngineConfig& config, const fs::path& modelFolder) {
    if (!isIn(modelFolder, modelsFolder(config)))
        return "Get the model again from where it came.";
    return config.repairCommand.empty()
               ? "Download the model again."
               : "Repair it with: " + config.repairCommand + " " + modelFolder.filename().string();
}

Repair repairModel(const WhisperEngineConfig& config, const std::string& name, HttpClient& http, Clock& clock,
                   std::stop_token stop) {
    const fs::path base = modelsFolder(config);
    const std::string variant = installedName(base, name);
    Repair repair{base / variant, {}, {}};
    if (config.bundledModels && !checkpointFault(*config.bundledModels / variant)) {
        repair.fetched = repairFromBundled(*config.bundledModels / variant, repair.folder);
    } else {
        hub::HubClient hub = hubFor(config, http, clock);
        try {
            repair.fetched = whisper::repair(
                {hub, {config.modelRepo.value_or("")}, base, clock, config.downloadProgress}, variant, stop);
        } catch (const WhisperError& error) {
            if (error.kind == WhisperError::Kind::cancelled || !isUsable(repair.folder))
                throw;
            repair.unchecked = error.what();
        }
    }
    dropCompiled(repair.folder);
    return repair;
}

} // namespace fenlo::whisper
