#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The models installed on this machine, one folder each.
namespace fenlo::whisper {

struct LocalModel {
    std::string name;
    std::filesystem::path folder;
    std::uint64_t bytes = 0;          // on the disk
    std::optional<std::string> fault; // what keeps it from being a checkpoint, worded to follow its name
    bool compiled = false;            // the packed files exist

    bool isComplete() const { return !fault; }
};

/// Sorted by name. Hidden folders are left out. A folder that cannot be read counts as empty.
std::vector<LocalModel> listLocalModels(const std::filesystem::path& downloadBase);

/// Removes a model and its unfinished download. False when there is neither.
/// Throws WhisperError (modelsUnavailable) for an impossible name, and when the disk refuses.
bool removeLocalModel(const std::filesystem::path& downloadBase, const std::string& name);

/// Whether a model's folder can have this name: one path component, not hidden.
bool isModelName(std::string_view name);

/// The bytes of a download that was not finished.
std::uint64_t bytesOfPartialDownload(const std::filesystem::path& downloadBase, const std::string& name);

/// The names of complete models in a folder that is only read; sorted.
std::vector<std::string> listBundledModels(const std::filesystem::path& folder);

/// Where the files of a model are collected until all have been downloaded; never listed.
std::filesystem::path partialDownload(const std::filesystem::path& downloadBase, const std::string& name);

} // namespace fenlo::whisper
