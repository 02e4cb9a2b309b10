#pragma once

#include "WhisperEngine/Logging.h"
#include "WhisperEngine/Models/ModelSupport.h"
#include "hub/HubClient.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

/// From a requested name to a model folder on the disk.
///
/// Threads: any; functions with a stop token block.
/// Errors:  WhisperError of the kind modelsUnavailable, or cancelled after a stop request.
namespace fenlo {
class Clock;
}

namespace fenlo::whisper {

/// Where models come from: a repository on the hub with a folder for each variant. Without a name: the publishers' own
/// repositories, one for each checkpoint.
struct ModelRepository {
    std::string name; // "publisher/repository", or empty

    bool isStock() const { return name.empty(); }
    std::string description() const { return isStock() ? "the publishers' repositories" : name; }
};

/// What models are fetched with.
struct ModelDownloads {
    hub::HubClient& hub;
    ModelRepository repository;
    std::filesystem::path base; // the folder that holds a folder for each model
    Clock& clock;
    std::function<void(hub::DownloadProgress)> progress = {}; // called on the calling thread; may be empty
};

/// The available variants, the plainest names first. `matching` are globs; without any, all variants.
std::vector<std::string> fetchAvailableModels(hub::HubClient& hub, const ModelRepository& repository,
                                              const std::vector<std::string>& matching, std::stop_token stop);

/// fetchAvailableModels() without the names that mean the same checkpoint as another.
std::vector<std::string> fetchDistinctModels(hub::HubClient& hub, const ModelRepository& repository,
                                             std::stop_token stop);

/// The bytes that a download of the variant takes in all.
std::uint64_t fetchDownloadSize(const ModelDownloads& from, const std::string& variant, std::stop_token stop);

/// The repository's own table of devices and models, or the built-in one. Fails only on a stop request. The file is
/// kept below the base.
ModelSupportConfig fetchModelSupportConfig(const ModelDownloads& from, const Logging& log, std::stop_token stop);

/// The variant that a name stands for. A name with a `*` is a glob, any other a part of a variant's name: "small" is
/// "openai_whisper-small". A complete model on the disk with exactly this name is chosen without the network; when the
/// hub cannot be reached, one of the same size.
std::string chooseModel(const ModelDownloads& from, const std::string& name, const Logging& log, std::stop_token stop);

/// Downloads a variant to a folder of its name in the base and returns that folder, which appears only when all files
/// are there. A folder that is already complete is returned as it is, without the network. A second process that wants
/// the same variant waits for the first.
std::filesystem::path download(const ModelDownloads& from, const std::string& variant, std::stop_token stop);

/// Downloads the files of an installed variant that are missing or do not have the size and hash that the hub lists.
/// Returns their names. The network is not used when the folder's own record shows that every file is right.
std::vector<std::string> repair(const ModelDownloads& from, const std::string& variant, std::stop_token stop);

} // namespace fenlo::whisper
