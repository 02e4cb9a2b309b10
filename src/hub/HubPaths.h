#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

/// Names from outside, which may be hostile, and where they lead.
namespace fenlo::hub {

/// "publisher/name", or a bare name, of letters, digits, '.', '-' and '_'.
bool isRepoName(std::string_view repo);

/// Whether a path stays inside its folder on every file system and clear of the client's own files there: relative, no
/// empty, "." or ".." component, no backslash, no control character, no component over 255 bytes.
bool isSafePath(std::string_view path);

/// The text on one printable line of at most 100 characters, for messages.
std::string shown(std::string_view text);

/// "1.2 GB"; decimal units.
std::string sizeText(std::uint64_t bytes);

/// Where the file of a safe path lies in the folder. Throws HubError disk when a symbolic link or a file stands where a
/// folder is needed, or something else than a file stands in its own place: it could lead out of the folder.
std::filesystem::path placeIn(const std::filesystem::path& folder, const std::string& path);

/// The client's own names in a folder.
inline constexpr char partialFolderName[] = ".partial";
inline constexpr char manifestName[] = ".snapshot.json";
inline constexpr char lockName[] = ".lock";

} // namespace fenlo::hub
