#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The models in a folder of this machine, one folder each.
namespace fenlo::whisper {

struct LocalModel {
    std::string name;
    std::filesystem::path folder;
    std::uint64_t bytes = 0;          // on the disk
    std::optional<std::string> fault; // what keeps it from being a checkpoint, worded to follow its name
    bool compiled = false;            // the packed files are there

    bool isComplete() const { return !fault; }
};

/// Sorted by name. Names with a point in front are none of ours. A folder that cannot be read holds no models.
std::vector<LocalModel> listLocalModels(const std::filesystem::path& downloadBase);

/// Removes a model and what an unfinished download of it has left. False when there is nothing of the name.
/// Throws WhisperError (modelsUnavailable) for a name that is no model's, and when the disk refuses.
bool removeLocalModel(const std::filesystem::path& downloadBase, const std::string& name);

/// Whether a name can be that of a model's folder: one plain component that is not hidden.
bool isModelName(std::string_view name);

/// Where a model's files gather until all have come; it is never listed.
std::filesystem::path partialDownload(const std::filesystem::path& downloadBase, const std::string& name);

} // namespace fenlo::whisper
