#include "WhisperEngine/Models/LocalModels.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/CheckpointFiles.h"

#include <algorithm>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

constexpr const char* compiledFiles[] = {"MelSpectrogram", "AudioEncoder", "TextDecoder"};

std::uint64_t bytesIn(const fs::path& folder) {
    std::uint64_t bytes = 0;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error), end;
         !error && entry != end; entry.increment(error)) {
        std::error_code unreadable;
        const bool counts = entry->is_regular_file(unreadable) && !entry->is_symlink(unreadable);
        const std::uintmax_t size = counts ? entry->file_size(unreadable) : 0;
        if (!unreadable)
            bytes += size;
    }
    return bytes;
}

bool isCompiledFolder(const fs::path& folder) {
    return std::all_of(std::begin(compiledFiles), std::end(compiledFiles), [&](const char* name) {
        std::error_code error;
        return fs::is_regular_file(folder / name, error);
    });
}

/// False when there was nothing.
bool removeTree(const fs::path& folder) {
    std::error_code error;
    if (!fs::exists(fs::symlink_status(folder, error)))
        return false;
    fs::remove_all(folder, error);
    if (error)
        throw WhisperError(WhisperError::Kind::modelsUnavailable, "cannot remove " + folder.string() + ": " +
                                                                      error.message() +
                                                                      "; check the folder's permissions");
    return true;
}

} // namespace

bool isModelName(std::string_view name) {
    return !name.empty() && name.size() <= 200 && name.front() != '.' &&
           std::all_of(name.begin(), name.end(),
                       [](unsigned char c) { return c > ' ' && c != 0x7F && c != '/' && c != '\\'; });
}

fs::path partialDownload(const fs::path& downloadBase, const std::string& name) {
    return downloadBase / ".partial" / name;
}

std::vector<LocalModel> listLocalModels(const fs::path& downloadBase) {
    std::vector<LocalModel> models;
    std::error_code error;
    for (fs::directory_iterator entry(downloadBase, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::error_code unreadable;
        if (isModelName(name) && entry->is_directory(unreadable))
            models.push_back({name, entry->path(), bytesIn(entry->path()), checkpointFault(entry->path()),
                              isCompiledFolder(entry->path())});
    }
    std::sort(models.begin(), models.end(), [](const LocalModel& a, const LocalModel& b) { return a.name < b.name; });
    return models;
}

std::uint64_t bytesOfPartialDownload(const fs::path& downloadBase, const std::string& name) {
    return isModelName(name) ? bytesIn(partialDownload(downloadBase, name)) : 0;
}

std::vector<std::string> listBundledModels(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error))
        if (!checkpointFault(entry.path()))
            names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

bool removeLocalModel(const fs::path& downloadBase, const std::string& name) {
    if (!isModelName(name))
        throw WhisperError(WhisperError::Kind::modelsUnavailable,
                           "\"" + name + "\" is no name of a model; the list of models has the names");
    const bool unfinished = removeTree(partialDownload(downloadBase, name));
    return removeTree(downloadBase / name) || unfinished;
}

} // namespace fenlo::whisper
