#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace fenlo::test {

/// A file of a repository, as a hub knows it.
struct HubFile {
    std::filesystem::path place;
    std::string path; // in the repository
    std::uint64_t size = 0;
    bool isLarge = false; // lies in the storage and is listed with its SHA-256; other files with git's SHA-1
    std::string hash;
};

/// The files of a repository in a folder, sorted by path. Files from `largeFrom` bytes on are large.
std::vector<HubFile> hubFiles(const std::filesystem::path& repository, std::uint64_t largeFrom);

std::optional<HubFile> hubFile(const std::filesystem::path& repository, const std::string& path,
                               std::uint64_t largeFrom);

std::string sha256(const std::string& content);
std::string gitBlobSha1(const std::string& content);

} // namespace fenlo::test
