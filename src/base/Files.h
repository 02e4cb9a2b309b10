#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::files {

/// The user's home; `HOME`, or the password database when it is unset.
std::filesystem::path homeDirectory();

/// `~/.fenlo`, the folder of all the program's data files.
std::filesystem::path dataDirectory();

/// `$XDG_CACHE_HOME/fenlo`, by default `~/.cache/fenlo`, for files that can be made again.
std::filesystem::path cacheDirectory();

/// Makes the folder and its parents, and gives the folder itself, new or old, to its owner only; one that all share,
/// such as /tmp, stays theirs. False when there is no such folder afterwards.
bool makePrivateDirectory(const std::filesystem::path& directory);

/// The whole file, or nothing when it cannot be read.
std::optional<std::string> read(const std::filesystem::path& file);

/// Replaces the file whole or not at all: writes a neighbour and renames it over the file a symbolic link leads to.
/// Keeps the permissions of an existing file; a new one is 0600.
bool writeAtomically(const std::filesystem::path& file, std::string_view content);

/// The same for a file that must not be there yet, not even as a link. False with errno, EEXIST when it is.
bool writeNew(const std::filesystem::path& file, std::string_view content);

/// Renames a file that does not parse to "<name>.damaged-<date>", followed by a number when that name is taken, so that
/// nothing of the user's is overwritten. Its new path; nothing when it could not be renamed.
std::optional<std::filesystem::path> setAside(const std::filesystem::path& file,
                                              std::chrono::system_clock::time_point date);

/// The files that setAside() made of this one, in the order of their names.
std::vector<std::filesystem::path> thoseSetAside(const std::filesystem::path& file);

/// The size of the file in full kilobytes; 0 when it cannot be read.
std::uintmax_t kilobytes(const std::filesystem::path& file);

void removeQuietly(const std::filesystem::path& file);

/// A path in the temporary folder: prefix, a fresh upper-case UUID, and the extension (with its dot).
std::filesystem::path temporaryFile(std::string_view prefix, std::string_view extension);

/// A random UUID in upper case.
std::string makeUuid();

} // namespace fenlo::files
