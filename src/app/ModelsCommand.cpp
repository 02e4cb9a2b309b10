#include "app/Commands.h"

#include "WhisperEngine/ModelSetup.h"
#include "WhisperEngine/Models/LocalModels.h"
#include "WhisperEngine/Models/ModelRepository.h"
#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/WhisperError.h"
#include "app/CommandServices.h"
#include "app/ExitStatus.h"
#include "app/LocalEngine.h"
#include "app/StandardOutput.h"
#include "base/Clock.h"
#include "base/Json.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Deployment.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

using whisper::LocalModel;

constexpr const char* bundledNote = "comes with Fenlo for demonstration: synthetic English, a toy vocabulary";

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

/// Shows how far the work is, and ends it in one line when the user interrupts it.
int fetchAndPrepare(const std::function<void(whisper::WhisperEngineConfig&, CommandServices&)>& work) {
    CommandServices command;
    whisper::WhisperEngineConfig config = engineConfig(command.deployment);
    config.downloadProgress = [&](const hub::DownloadProgress& step) {
        command.progress.bytes("Downloading", step.received, step.total);
    };
    config.compileProgress = [&](double fraction) { command.progress.fraction("Preparing", fraction); };
    try {
        work(config, command);
    } catch (const whisper::WhisperError& error) {
        command.progress.finish();
        if (error.kind != whisper::WhisperError::Kind::cancelled)
            throw;
        throw Interrupted("interrupted; the same command goes on from here");
    }
    return exitStatus::ok;
}

struct ModelList {
    std::vector<LocalModel> installed;
    std::vector<std::string> available; // to download; those that come with the program first
    std::vector<std::string> bundled;

    bool isInstalled(const std::string& name) const {
        return std::ranges::any_of(installed, [&](const LocalModel& model) { return model.name == name; });
    }
    bool isBundled(const std::string& name) const { return std::ranges::find(bundled, name) != bundled.end(); }
};

ModelList findModels() {
    const Deployment deployment = Deployment::load();
    CurlHttpClient http;
    SystemClock clock;
    ModelList models{
        whisper::listLocalModels(modelsDirectory()), {}, whisper::listBundledModels(bundledModelsDirectory())};
    std::ranges::copy_if(models.bundled, std::back_inserter(models.available),
                         [&](const auto& name) { return !models.isInstalled(name); });
    hub::HubClient hub(http, hub::HubSettings::fromEnvironment(), clock);
    try {
        for (std::string& name : whisper::fetchDistinctModels(hub, {deployment.modelRepository}, {}))
            if (!models.isInstalled(name))
                models.available.push_back(std::move(name));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fenlo: cannot ask for the models to download: %s\n", error.what());
    }

    return models;
}

void printForPrograms(const ModelList& models) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const LocalModel& model : models.installed)
        list.push_back({{"name", model.name},
                        {"folder", model.folder.string()},
                        {"bytes", model.bytes},
                        {"installed", model.isComplete()},
                        {"ready", model.compiled},
                        {"demonstration", models.isBundled(model.name)}});
    for (const std::string& name : models.available)
        list.push_back({{"name", name}, {"installed", false}, {"demonstration", models.isBundled(name)}});
    print(writeJson(list, 2) + "\n");
}

void printForPeople(const ModelList& models) {
    printFormatted("Installed in %s:\n", modelsDirectory().c_str());
    for (const LocalModel& model : models.installed)
        printFormatted("  %-44s %8s  %s%s%s\n", model.name.c_str(), sizeOf(model.bytes).c_str(), stateOf(model).c_str(),
                       models.isBundled(model.name) ? "; " : "", models.isBundled(model.name) ? bundledNote : "");
    if (models.installed.empty())
        print("  none\n");
    print("To install with `fenlo models download NAME`:\n");
    for (const std::string& name : models.available)
        printFormatted("  %-44s %s\n", name.c_str(), models.isBundled(name) ? bundledNote : "");
}

int runModelsList(bool json) {
    const ModelList models = findModels();
    if (json)
        printForPrograms(models);
    else
        printForPeople(models);
    return exitStatus::ok;
}

int runModelsDownload(const std::string& name) {
    return fetchAndPrepare([&](whisper::WhisperEngineConfig& config, CommandServices& command) {
        config.model = name;
        config.load = false;
        const auto engine = whisper::WhisperEngine::create(config, command.http, command.clock, command.stop());
        command.progress.finish();
        printFormatted("%s\n", engine->modelFolder().c_str());
    });
}

/// Fetches what is damaged or missing of an installed model, prepares it again and loads it.
int runModelsRepair(const std::string& name) {
    return fetchAndPrepare([&](whisper::WhisperEngineConfig& config, CommandServices& command) {
        const whisper::Repair repair = whisper::repairModel(config, name, command.http, command.clock, command.stop());
        command.progress.finish();
        for (const std::string& file : repair.fetched)
            printFormatted("fetched again: %s\n", file.c_str());
        if (!repair.unchecked.empty())
            std::fprintf(stderr, "fenlo: the files could not be compared with the hub's: %s\n",
                         repair.unchecked.c_str());
        config.modelFolder = repair.folder;
        whisper::WhisperEngine::create(config, command.http, command.clock, command.stop());
        command.progress.finish();
        printFormatted("prepared again, and it loads: %s\n", repair.folder.c_str());
    });
}

int runModelsRemove(const std::string& name) {
    if (removeModel(name))
        return exitStatus::ok;
    std::fprintf(stderr, "fenlo: there is no model \"%s\" in %s; `fenlo models list` shows the names\n", name.c_str(),
                 modelsDirectory().c_str());
    return exitStatus::failed;
}

/// The folder of a model, or of all of them without a name.
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

struct ModelsOptions {
    std::string name;
    bool json = false;
};

} // namespace

Command addModelsCommand(CLI::App& cli) {
    const auto options = std::make_shared<ModelsOptions>();
    CLI::App& command = *cli.add_subcommand("models", "The models of the engine on this machine");
    command.require_subcommand(1);
    CLI::App* list = command.add_subcommand("list", "What is installed, and what can be downloaded");
    list->add_flag("--json", options->json, "print a JSON list of the models");
    CLI::App* download = command.add_subcommand("download", "Download a model and make it ready");
    download->add_option("NAME", options->name, "a name or a part of it, such as \"small\"")->required();
    CLI::App* repair = command.add_subcommand(
        "repair", "Check every file of a model, fetch again what is damaged or missing, and make it ready anew");
    repair->add_option("NAME", options->name, "a name or a part of it")->type_name("MODEL")->required();
    CLI::App* remove = command.add_subcommand("remove", "Remove a model from this machine");
    remove->add_option("NAME", options->name, "the whole name, as `fenlo models list` shows it")
        ->type_name("MODEL")
        ->required();
    CLI::App* path = command.add_subcommand("path", "Print the folder of a model, or of all models");
    path->add_option("NAME", options->name, "a name or a part of it")->type_name("MODEL");
    return {&command, [=] {
                if (*list)
                    return runModelsList(options->json);
                if (*download)
                    return runModelsDownload(options->name);
                if (*repair)
                    return runModelsRepair(options->name);
                return *remove ? runModelsRemove(options->name) : runModelsPath(options->name);
            }};
}

} // namespace fenlo
