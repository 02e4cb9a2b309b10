#include "app/ModelWork.h"

#include "WhisperEngine/EngineBench.h"
#include "WhisperEngine/Models/LocalModels.h"
#include "WhisperEngine/Models/ModelRepository.h"
#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/network/CheckpointFiles.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "app/LocalEngine.h"
#include "settings/Deployment.h"

#include <algorithm>
#include <system_error>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr int measuredRuns = 2;

bool isBundled(const std::string& name) {
    return !whisper::checkpointFault(bundledModelsDirectory() / name);
}

std::vector<ModelWork::Installed> installedModels() {
    std::vector<ModelWork::Installed> models;
    for (const whisper::LocalModel& model : whisper::listLocalModels(modelsDirectory()))
        models.push_back({model.name, model.bytes, model.isComplete(), model.compiled, isBundled(model.name)});
    return models;
}

std::vector<ModelWork::Fetchable> fetchableModels(const Deployment& deployment, HttpClient& http, Clock& clock,
                                                  std::stop_token stop) {
    const auto installed = installedModels();
    std::vector<std::string> names = whisper::listBundledModels(bundledModelsDirectory());
    hub::HubClient hub(http, hub::HubSettings::fromEnvironment(), clock);
    for (std::string& name : whisper::fetchDistinctModels(hub, {deployment.modelRepository}, stop))
        names.push_back(std::move(name));
    std::vector<ModelWork::Fetchable> models;
    for (const std::string& name : names)
        if (std::ranges::none_of(installed, [&](const auto& model) { return model.isWhole && model.name == name; }))
            models.push_back({name, whisper::bytesOfPartialDownload(modelsDirectory(), name), isBundled(name)});
    return models;
}

std::uint64_t downloadSize(const std::string& name, const Deployment& deployment, HttpClient& http, Clock& clock,
                           std::stop_token stop) {
    if (isBundled(name)) {
        std::uint64_t bytes = 0;
        for (const auto& entry : fs::directory_iterator(bundledModelsDirectory() / name))
            bytes += entry.is_regular_file() ? entry.file_size() : 0;
        return bytes;
    }
    hub::HubClient hub(http, hub::HubSettings::fromEnvironment(), clock);
    return whisper::fetchDownloadSize({hub, {deployment.modelRepository}, modelsDirectory(), clock}, name, stop);
}

void download(const std::string& name, const LocalTranscriber::Steps& steps, const Deployment& deployment,
              HttpClient& http, Clock& clock, std::stop_token stop) {
    whisper::WhisperEngineConfig config = engineConfig(deployment);
    config.model = name;
    config.load = false;
    tellSteps(config, steps);
    whisper::WhisperEngine::create(std::move(config), http, clock, stop);
}

double measure(const std::string& name, Clock& clock, std::stop_token stop) {
    whisper::settleInstructionSet(instructionTrial());
    whisper::ThreadPool pool(0);
    const whisper::ModelComputeOptions compute;
    const auto place = whisper::placeOf(modelsDirectory() / name, modelsDirectory(), compute);
    return whisper::secondsForSentence(
        whisper::measureEngine(place, compute, pool, clock, {.runs = measuredRuns}, stop));
}

/// Of the nearest folder that exists.
std::uint64_t freeDisk() {
    fs::path folder = modelsDirectory();
    std::error_code error;
    while (!fs::exists(folder, error) && folder.has_relative_path())
        folder = folder.parent_path();
    const fs::space_info space = fs::space(folder, error);
    return error ? UINT64_MAX : space.available;
}

} // namespace

ModelWork modelWork(const Deployment& deployment, HttpClient& http, Clock& clock) {
    ModelWork work;
    work.installed = installedModels;
    work.fetchable = [&](std::stop_token stop) { return fetchableModels(deployment, http, clock, stop); };
    work.downloadSize = [&](const std::string& name, std::stop_token stop) {
        return downloadSize(name, deployment, http, clock, stop);
    };
    work.download = [&](const std::string& name, const LocalTranscriber::Steps& steps, std::stop_token stop) {
        download(name, steps, deployment, http, clock, stop);
    };
    work.remove = [](const std::string& name) { removeModel(name); };
    work.measure = [&](const std::string& name, std::stop_token stop) { return measure(name, clock, stop); };
    work.freeDisk = freeDisk;
    return work;
}

std::uint64_t machineMemory() {
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const long size = ::sysconf(_SC_PAGE_SIZE);
    return pages > 0 && size > 0 ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(size) : 0;
}

} // namespace fenlo
