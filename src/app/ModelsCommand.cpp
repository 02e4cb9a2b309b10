#include "app/Commands.h"

#include "WhisperEngine/ModelSetup.h"
#include "WhisperEngine/Models/LocalModels.h"
#include "WhisperEngine/Models/ModelRepository.h"
#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/CheckpointFiles.h"
#include "app/LocalEngine.h"
#include "app/Progress.h"
#include "app/StandardOutput.h"
#include "app/TerminationSignals.h"
#include "base/Clock.h"
#include "base/Json.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Deployment.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>
#include <system_error>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

using whisper::LocalModel;

constexpr const char* bundledNote = "comes with Fenlo for demonstration: synthetic English, a toy vocabulary";

std::vector<std::string> bundledModels() {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(bundledModelsDirectory(), error))
        if (!whisper::checkpointFault(entry.path()))
            names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

/// Names with further parts ("_626MB") tell how a checkpoint was packed for other runtimes. Of the publishers' models
/// they all mean the plain one.
bool isPlain(const std::string& name) {
    return std::ranges::count(name, '_') == 1;
}

std::string stateOf(const LocalModel& model) {
    if (model.fault)
        return "incomplete: it " + *model.fault;
    return model.compiled ? "ready" : "to be prepared at its first use";
}

std::string sizeOf(std::uint64_t bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f MB", static_cast<double>(bytes) / 1e6);
    return text;
}

/// What fetching and preparing a model takes.
struct ModelWork {
    whisper::WhisperEngineConfig config;
    HttpClient& http;
    Clock& clock;
    Progress& progress;
    std::stop_token stop;
};

/// Shows how far the work is, and ends it in one line when the user interrupts it.
int fetchAndPrepare(const std::function<void(ModelWork&)>& work) {
    TerminationSignals::block();
    std::stop_source interruption;
    const TerminationSignals termination([&] { interruption.request_stop(); });
    const Deployment deployment = Deployment::load();
    CurlHttpClient http;
    SystemClock clock;
    Progress progress(clock);
    ModelWork all{engineConfig(deployment), http, clock, progress, interruption.get_token()};
    all.config.downloadProgress = [&](const hub::DownloadProgress& step) {
        progress.bytes("Downloading", step.received, step.total);
    };
    all.config.compileProgress = [&](double fraction) { progress.fraction("Preparing", fraction); };
    try {
        work(all);
    } catch (const whisper::WhisperError& error) {
        progress.finish();
        if (error.kind != whisper::WhisperError::Kind::cancelled)
            throw;
        throw Interrupted("interrupted; the same command goes on from here");
    }
    return exitStatus::ok;
}

} // namespace

int runModelsList(bool json) {
    const Deployment deployment = Deployment::load();
    CurlHttpClient http;
    SystemClock clock;
    const auto installed = whisper::listLocalModels(modelsDirectory());
    const auto bundled = bundledModels();
    const auto isInstalled = [&](const std::string& name) {
        return std::ranges::any_of(installed, [&](const LocalModel& model) { return model.name == name; });
    };
    const auto isBundled = [&](const std::string& name) { return std::ranges::find(bundled, name) != bundled.end(); };

    std::vector<std::string> available;
    std::ranges::copy_if(bundled, std::back_inserter(available), [&](const auto& name) { return !isInstalled(name); });
    hub::HubClient hub(http, hub::HubSettings::fromEnvironment(), clock);
    try {
        for (std::string& name : whisper::fetchAvailableModels(hub, {deployment.modelRepository}, {}, {}))
            if (!isInstalled(name) && (!deployment.modelRepository.empty() || isPlain(name)))
                available.push_back(std::move(name));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fenlo: cannot ask for the models to download: %s\n", error.what());
    }

    if (json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const LocalModel& model : installed)
            list.push_back({{"name", model.name},
                            {"folder", model.folder.string()},
                            {"bytes", model.bytes},
                            {"installed", model.isComplete()},
                            {"ready", model.compiled},
                            {"demonstration", isBundled(model.name)}});
        for (const std::string& name : available)
            list.push_back({{"name", name}, {"installed", false}, {"demonstration", isBundled(name)}});
        print(writeJson(list, 2) + "\n");
        return exitStatus::ok;
    }
    printFormatted("Installed in %s:\n", modelsDirectory().c_str());
    for (const LocalModel& model : installed)
        printFormatted("  %-44s %8s  %s%s%s\n", model.name.c_str(), sizeOf(model.bytes).c_str(), stateOf(model).c_str(),
                       isBundled(model.name) ? "; " : "", isBundled(model.name) ? bundledNote : "");
    if (installed.empty())
        print("  none\n");
    print("To install with `fenlo models download NAME`:\n");
    for (const std::string& name : available)
        printFormatted("  %-44s %s\n", name.c_str(), isBundled(name) ? bundledNote : "");
    return exitStatus::ok;
}

int runModelsDownload(const std::string& name) {
    return fetchAndPrepare([&](ModelWork& work) {
        work.config.model = name;
        work.config.load = false;
        const auto engine = whisper::WhisperEngine::create(work.config, work.http, work.clock, work.stop);
        work.progress.finish();
        printFormatted("%s\n", engine->modelFolder().c_str());
    });
}

int runModelsRepair(const std::string& name) {
    return fetchAndPrepare([&](ModelWork& work) {
        const whisper::Repair repair = whisper::repairModel(work.config, name, work.http, work.clock, work.stop);
        work.progress.finish();
        for (const std::string& file : repair.fetched)
            printFormatted("fetched again: %s\n", file.c_str());
        if (!repair.unchecked.empty())
            std::fprintf(stderr, "fenlo: the files could not be compared with the hub's: %s\n",
                         repair.unchecked.c_str());
        work.config.modelFolder = repair.folder;
        whisper::WhisperEngine::create(work.config, work.http, work.clock, work.stop);
        work.progress.finish();
        printFormatted("prepared again, and it loads: %s\n", repair.folder.c_str());
    });
}

int runModelsRemove(const std::string& name) {
    if (whisper::isModelName(name))
        whisper::removeCached(modelsDirectory() / name);
    if (whisper::removeLocalModel(modelsDirectory(), name))
        return exitStatus::ok;
    std::fprintf(stderr, "fenlo: there is no model \"%s\" in %s; `fenlo models list` shows the names\n", name.c_str(),
                 modelsDirectory().c_str());
    return exitStatus::failed;
}

int runModelsPath(const std::string& name) {
    if (name.empty()) {
        printFormatted("%s\n", modelsDirectory().c_str());
        return exitStatus::ok;
    }
    CurlHttpClient http;
    SystemClock clock;
    printFormatted("%s\n", installedModel(name, Deployment::load(), http, clock, {}).c_str());
    return exitStatus::ok;
}

} // namespace fenlo
