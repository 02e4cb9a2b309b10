#pragma once

#include "WhisperEngine/Logging.h"
#include "WhisperEngine/Models/ModelSupport.h"
#include "hub/HubClient.h"

#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

/// From a requested name to a model folder on the disk.
///
/// Threads: any; what takes a HubClient blocks.
/// Errors:  WhisperError of the kind modelsUnavailable, or cancelled after a stop request.
namespace fenlo {
class Clock;
}

namespace fenlo::whisper {

/// Where models come from: one repository on the hub that has each variant as a folder, or without a name the
/// publishers' own repositories, one for each checkpoint.
struct ModelRepository {
    std::string name; // "publisher/repository", or empty

    bool isStock() const { return name.empty(); }
    std::string description() const { return isStock() ? "the publishers' repositories" : name; }
};

/// The variants there are, the plainest names first. `matching` are globs; without any, all of them.
std::vector<std::string> fetchAvailableModels(hub::HubClient& hub, const ModelRepository& repository,
                                              const std::vector<std::string>& matching, std::stop_token stop);

/// The repository's own table of devices and models, or the built-in one; never fails but for a stop request. The file
/// is kept below `downloadBase`.
ModelSupportConfig fetchModelSupportConfig(hub::HubClient& hub, const ModelRepository& repository,
                                           const std::filesystem::path& downloadBase, const Logging& log,
                                           std::stop_token stop);

/// The variant that a requested name means: a glob where it has a `*`, else a part of a variant's name ("small" is
/// "openai_whisper-small"). A model that is whole on the disk is chosen without the network when its name says so, and
/// one of the same size when the hub cannot be reached.
std::string chooseModel(hub::HubClient& hub, const ModelRepository& repository, const std::string& name,
                        const std::filesystem::path& downloadBase, const Logging& log, std::stop_token stop);

/// Brings a variant into `downloadBase`/`variant` and gives that folder. Its files gather out of sight and it appears
/// whole. A folder that is whole already is given as it is, without the network. A second process that wants the same
/// variant waits for the first. The progress callback, which may be empty, comes on the calling thread.
std::filesystem::path download(hub::HubClient& hub, const ModelRepository& repository, const std::string& variant,
                               const std::filesystem::path& downloadBase, Clock& clock,
                               const std::function<void(hub::DownloadProgress)>& progress, std::stop_token stop);

/// Brings what is damaged or missing of a variant in `downloadBase`, by the sizes and hashes that the hub tells; what
/// is sound stays. Gives the names of what was fetched. The network is not asked when the folder itself tells what its
/// files should be, and they are that.
std::vector<std::string> repair(hub::HubClient& hub, const ModelRepository& repository, const std::string& variant,
                                const std::filesystem::path& downloadBase, Clock& clock,
                                const std::function<void(hub::DownloadProgress)>& progress, std::stop_token stop);

} // namespace fenlo::whisper
