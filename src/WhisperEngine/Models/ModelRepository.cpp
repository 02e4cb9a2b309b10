#include "WhisperEngine/Models/ModelRepository.h"

#include "WhisperEngine/Models/LocalModels.h"
#include "WhisperEngine/Models/ModelVariant.h"
#include "WhisperEngine/Models/NeededFiles.h"
#include "WhisperEngine/Models/PublisherModels.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/CheckpointFiles.h"
#include "base/Files.h"
#include "hub/ContentCheck.h"
#include "hub/FolderLock.h"
#include "hub/SnapshotManifest.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

constexpr const char* configName = "config.json";

bool isGlob(const std::string& name) {
    return name.find('*') != std::string::npos;
}

std::vector<std::string> matchingOf(const std::vector<std::string>& names, const std::string& glob) {
    std::vector<std::string> found;
    std::copy_if(names.begin(), names.end(), std::back_inserter(found),
                 [&](const std::string& name) { return hub::matchesGlob(name, glob); });
    return found;
}

std::vector<std::string> completeModels(const fs::path& downloadBase) {
    std::vector<std::string> names;
    for (const LocalModel& model : listLocalModels(downloadBase))
        if (model.isComplete())
            names.push_back(model.name);
    return names;
}

/// The models of the size that a name gives: "small" does not stand for "small.en".
std::vector<std::string> ofSameSize(std::vector<std::string> models, const std::string& name) {
    if (const auto wanted = variantOfName(name); wanted && !isGlob(name))
        std::erase_if(models, [&](const std::string& model) { return variantOfName(model) != wanted; });
    return models;
}

std::vector<std::string> pathsOf(const std::vector<hub::RepoFile>& repoFiles) {
    std::vector<std::string> paths;
    for (const hub::RepoFile& file : repoFiles)
        paths.push_back(file.path);
    return paths;
}

WhisperError notFound(const std::string& error) {
    return {WhisperError::Kind::modelsUnavailable,
            "Model not found. Please check the model or repo name and try again.\nError: " + error};
}

WhisperError ofHub(const hub::HubError& error) {
    if (error.kind == hub::HubError::Kind::cancelled)
        return {WhisperError::Kind::cancelled, error.what()};
    if (error.kind == hub::HubError::Kind::notFound)
        return notFound(error.what());
    return {WhisperError::Kind::modelsUnavailable, error.what()};
}

/// The first variant that a name stands for; those of the main publisher come first.
std::optional<std::string> firstMatch(const std::vector<std::string>& variants, const std::string& name,
                                      const std::string& source, const Logging& log) {
    auto found = matchingOf(variants, isGlob(name) ? name : "*" + name + "*");
    if (!isGlob(name) && found.size() > 1)
        if (auto narrowed = matchingOf(found, "*openai*" + name + "*"); !narrowed.empty())
            found = std::move(narrowed);
    if (found.size() > 1)
        log.debug("Multiple models found matching \"{}\" in {}", name, source);
    if (found.empty())
        return {};
    return found.front();
}

std::string configFile(const std::vector<std::string>& paths, const Logging& log) {
    if (std::find(paths.begin(), paths.end(), configName) != paths.end())
        return configName;
    log.info("No config files found matching \"{}\"", configName);
    if (paths.empty())
        throw WhisperError(WhisperError::Kind::modelsUnavailable, "the repository has no such file");
    log.info("Using first matching file: {}", paths.front());
    return paths.front();
}

/// Moves an incomplete folder back to where downloads are collected, so that only its missing files are fetched.
void takeBack(const fs::path& incomplete, const fs::path& gathering) {
    std::error_code error;
    if (!fs::exists(incomplete, error) || fs::exists(gathering, error))
        return;
    fs::create_directories(gathering.parent_path(), error);
    fs::rename(incomplete, gathering, error);
}

void moveIntoPlace(const fs::path& gathered, const fs::path& folder) {
    if (const auto fault = checkpointFault(gathered))
        throw WhisperError(WhisperError::Kind::modelsUnavailable,
                           "the download to " + gathered.string() + " " + *fault + "; remove the folder and try again");
    std::error_code error;
    fs::rename(gathered, folder, error);
    // Another process may have been first.
    if (error && checkpointFault(folder))
        throw WhisperError(WhisperError::Kind::modelsUnavailable, "cannot move the model to " + folder.string() + ": " +
                                                                      error.message() +
                                                                      "; move that folder away and try again");
}

/// Whether the folder has a record of its files and they agree with it.
bool isAsPublished(const fs::path& folder, std::stop_token stop) {
    const auto manifest = hub::SnapshotManifest::load(folder);
    return manifest && !checkpointFault(folder) && std::ranges::all_of(manifest->files, [&](const hub::RepoFile& file) {
               return !hub::contentHash(file).empty() && hub::holds(folder / file.path, file, stop);
           });
}

/// A hidden folder in which the files of a variant are collected before they appear in its own.
struct Gathering {
    Gathering(const ModelDownloads& downloads, const std::string& variant)
        : from(downloads), folder(from.base / variant),
          source(from.repository.isStock() ? publisherRepository(variant) : from.repository.name),
          below(from.repository.isStock() ? "" : variant + "/"), stage(partialDownload(from.base, variant)),
          snapshot(stage / "files"), files(from.repository.isStock() ? snapshot : snapshot / variant) {}

    const fs::path& makeStage() const {
        std::error_code ignored;
        fs::create_directories(stage, ignored);
        return stage;
    }

    std::vector<hub::RepoFile> neededFromHub(std::stop_token stop) const {
        auto listed = from.hub.listFiles({source}, {{hub::literalGlob(below) + "*"}}, stop);
        const auto needed = neededFiles(pathsOf(listed), below, source);
        std::erase_if(listed,
                      [&](const hub::RepoFile& file) { return std::ranges::find(needed, file.path) == needed.end(); });
        return listed;
    }

    /// Removes files that differ from the hub's list and records the others, so that only the rest is fetched.
    std::vector<std::string> dropDamaged(const std::vector<hub::RepoFile>& needed, std::stop_token stop) const {
        std::error_code error;
        fs::create_directories(files, error);
        std::vector<std::string> damaged;
        hub::SnapshotManifest sound{{source}, {}, {}};
        for (const hub::RepoFile& file : needed)
            if (hub::holds(snapshot / file.path, file, stop)) {
                sound.files.push_back(file);
            } else if (!stop.stop_requested()) {
                damaged.push_back(file.path.substr(below.size()));
                fs::remove(snapshot / file.path, error);
            }
        sound.save(snapshot);
        return damaged;
    }

    void fetch(const std::vector<std::string>& paths, std::stop_token stop) const {
        hub::FilePatterns wanted;
        std::ranges::transform(paths, std::back_inserter(wanted.allow), hub::literalGlob);
        from.hub.snapshot({source}, wanted, snapshot, from.progress, stop);
        if (!below.empty())
            describeFolder();
        moveIntoPlace(files, folder);
        std::error_code ignored;
        fs::remove_all(stage, ignored);
    }

    const ModelDownloads& from;
    const fs::path folder;    // of the complete model
    const std::string source; // repository
    const std::string below;  // the variant's folder in it, with a slash; empty for the whole repository
    const fs::path stage, snapshot, files;

private:
    /// The record of this variant's files, for later repairs.
    void describeFolder() const {
        auto manifest = hub::SnapshotManifest::load(snapshot);
        if (!manifest)
            return;
        std::erase_if(manifest->files, [&](const hub::RepoFile& file) { return !file.path.starts_with(below); });
        for (hub::RepoFile& file : manifest->files)
            file.path.erase(0, below.size());
        manifest->save(files);
    }
};

} // namespace

std::vector<std::string> fetchAvailableModels(hub::HubClient& hub, const ModelRepository& repository,
                                              const std::vector<std::string>& matching, std::stop_token stop) {
    std::vector<std::string> names;
    if (repository.isStock()) {
        names = publisherModels();
    } else {
        try {
            std::set<std::string> folders; // sorted by name: by path "small.en/" comes before "small/"
            for (const hub::RepoFile& file : hub.listFiles({repository.name}, {{"*/config.json"}}, stop))
                if (const fs::path folder = fs::path(file.path).parent_path(); isModelName(folder.string()))
                    folders.insert(folder.string());
            names.assign(folders.begin(), folders.end());
        } catch (const hub::HubError& error) {
            throw ofHub(error);
        }
    }
    if (!matching.empty())
        std::erase_if(names, [&](const std::string& name) {
            return std::none_of(matching.begin(), matching.end(),
                                [&](const std::string& glob) { return hub::matchesGlob(name, glob); });
        });
    return names;
}

std::vector<std::string> fetchDistinctModels(hub::HubClient& hub, const ModelRepository& repository,
                                             std::stop_token stop) {
    auto names = fetchAvailableModels(hub, repository, {}, stop);
    // Names with further parts ("_626MB") tell how a checkpoint was packed for other runtimes. Of the publishers'
    // models they all mean the plain one.
    if (repository.isStock())
        std::erase_if(names, [](const std::string& name) { return std::ranges::count(name, '_') != 1; });
    return names;
}

std::uint64_t fetchDownloadSize(const ModelDownloads& from, const std::string& variant, std::stop_token stop) try {
    std::uint64_t bytes = 0;
    for (const hub::RepoFile& file : Gathering(from, variant).neededFromHub(stop))
        bytes += file.size;
    return bytes;
} catch (const hub::HubError& error) {
    throw ofHub(error);
}

ModelSupportConfig fetchModelSupportConfig(const ModelDownloads& from, const Logging& log, std::stop_token stop) {
    const std::string& repo = from.repository.name;
    if (from.repository.isStock())
        return ModelSupportConfig::fallback();
    log.info("Searching for config file matching \"{}\" in {}", configName, repo);
    try {
        const std::string file = configFile(pathsOf(from.hub.listFiles({repo}, {{"config*.json"}}, stop)), log);
        const fs::path folder = partialDownload(from.base, ".support");
        from.hub.snapshot({repo}, {{hub::literalGlob(file)}}, folder, {}, stop);
        return ModelSupportConfig::parse(files::read(folder / file).value_or(""));
    } catch (const std::runtime_error& error) {
        if (stop.stop_requested())
            throw WhisperError(WhisperError::Kind::cancelled, error.what());
        log.error("Fetch model support config failed with error: {}", error.what());
        return ModelSupportConfig::fallback();
    }
}

std::string chooseModel(const ModelDownloads& from, const std::string& name, const Logging& log, std::stop_token stop) {
    const auto installed = completeModels(from.base);
    for (const std::string& exact : {name, "openai_whisper-" + name})
        if (std::find(installed.begin(), installed.end(), exact) != installed.end())
            return exact;
    const std::string source = from.repository.description();
    std::optional<std::string> chosen;
    try {
        chosen = firstMatch(fetchAvailableModels(from.hub, from.repository, {}, stop), name, source, log);
        if (!chosen)
            throw notFound("No models found matching \"" + name + "\" in " + source);
    } catch (const WhisperError& error) {
        if (error.kind != WhisperError::Kind::cancelled)
            chosen = firstMatch(ofSameSize(installed, name), name, from.base.string(), log);
        if (!chosen)
            throw;
        log.info("Using the installed {}: {}", *chosen, error.what());
        return *chosen;
    }
    return from.repository.isStock() ? plainVariant(*chosen) : *chosen;
}

fs::path download(const ModelDownloads& from, const std::string& variant, std::stop_token stop) {
    if (!isModelName(variant))
        throw notFound("\"" + variant + "\" is no name of a model");
    // An installed model need not have a publisher; only a download does.
    if (fs::path folder = from.base / variant; !checkpointFault(folder))
        return folder;
    const Gathering gathering(from, variant);
    try {
        const hub::FolderLock lock(gathering.makeStage(), from.clock, stop);
        if (!checkpointFault(gathering.folder))
            return gathering.folder; // meanwhile, by another process
        const auto needed = gathering.neededFromHub(stop);
        takeBack(gathering.folder, gathering.files);
        gathering.fetch(pathsOf(needed), stop);
        return gathering.folder;
    } catch (const hub::HubError& error) {
        throw ofHub(error);
    }
}

std::vector<std::string> repair(const ModelDownloads& from, const std::string& variant, std::stop_token stop) {
    const Gathering gathering(from, variant);
    if (isAsPublished(gathering.folder, stop))
        return {};
    try {
        const hub::FolderLock lock(gathering.makeStage(), from.clock, stop);
        const auto needed = gathering.neededFromHub(stop);
        std::error_code error;
        if (fs::exists(gathering.folder, error)) {
            fs::remove_all(gathering.files, error); // left by an unfinished download
            takeBack(gathering.folder, gathering.files);
        }
        const auto damaged = gathering.dropDamaged(needed, stop);
        gathering.fetch(pathsOf(needed), stop);
        return damaged;
    } catch (const hub::HubError& error) {
        throw ofHub(error);
    }
}

} // namespace fenlo::whisper
