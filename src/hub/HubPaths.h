#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

/// Paths and names from the hub, which may be hostile.
namespace fenlo::hub {

/// "publisher/name", or a bare name, of letters, digits, '.', '-' and '_'.
bool isRepoName(std::string_view repo);

/// Whether git allows the name for a branch or a tag, or it is a commit. At most 255 bytes.
bool isRevision(std::string_view revision);

/// A commit's whole hash: what it names never changes.
bool isCommit(std::string_view revision);

/// Whether a path stays inside its folder on every file system and avoids the client's own files there: it is relative,
/// has no empty, "." or ".." component, no backslash, no control character and no component over 255 bytes.
bool isSafePath(std::string_view path);

/// The text on one printable line of at most 100 characters, for messages.
std::string shown(std::string_view text);

/// "1.2 GB"; decimal units.
std::string sizeText(std::uint64_t bytes);

/// Where the file of a safe path lies in the folder. Throws HubError disk when its parents are not plain folders, or
/// when something other than a file has its name: a symbolic link could lead out of the folder.
std::filesystem::path placeIn(const std::filesystem::path& folder, const std::string& path);

/// The client's own names in a folder.
inline constexpr char partialFolderName[] = ".partial";
inline constexpr char manifestName[] = ".snapshot.json";
inline constexpr char lockName[] = ".lock";

} // namespace fenlo::hub
