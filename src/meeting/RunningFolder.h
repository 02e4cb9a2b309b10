#pragma once

#include "base/LockedFile.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The folders of running meetings beside the archive's files: their names, and what lies in them.
///
/// Threads: any.
namespace fenlo::runningFolder {

inline constexpr std::string_view prefix = "running_";
inline constexpr std::string_view completePrefix = "complete_"; // is only to be removed any more
inline constexpr const char* journalName = "journal";
inline constexpr const char* stateName = "state.json";

struct Made {
    std::filesystem::path path;
    LockedFile journal;
};

/// "running_2026-11-15_09-30-05"
std::string nameOf(std::chrono::system_clock::time_point start);
/// A new folder for the meeting; several may start in the same second. Nothing with errno when there can be none.
std::optional<Made> make(const std::filesystem::path& archive, std::chrono::system_clock::time_point start);
/// Those of the archive with this prefix, oldest first.
std::vector<std::filesystem::path> in(const std::filesystem::path& archive, std::string_view prefix);
/// When the meeting began, by the folder's name.
std::optional<std::chrono::system_clock::time_point> startIn(const std::filesystem::path& folder);
/// The journal of a folder that was left behind. Nothing while a process uses it; a journal that the disk lost is made
/// anew where there is sound, and a folder without anything goes.
std::optional<LockedFile> takeOver(const std::filesystem::path& folder);
/// Named after the meeting too: sound that nobody could recognise outlives the folder.
std::filesystem::path chunkFile(const std::filesystem::path& folder, int number);
/// The seconds of each chunk that has a file, by number.
std::map<int, double> soundIn(const std::filesystem::path& folder);

} // namespace fenlo::runningFolder
