#pragma once

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

/// What a package says of itself.
struct PackageFacts {
    std::string name;
    std::string version;
    std::string architecture;
};

/// The packages by which this system's programs are installed.
///
/// Threads: workers; each operation blocks, for some seconds at most.
class PackageSystem {
public:
    virtual ~PackageSystem() = default;

    /// The installed package that this program belongs to; nothing when it came another way.
    virtual std::optional<PackageFacts> ownPackage(std::stop_token stop) = 0;

    /// What the package in this file says; nothing when it is no package. Only for files that are trusted: it is taken
    /// apart for it.
    virtual std::optional<PackageFacts> read(const std::filesystem::path& file, std::stop_token stop) = 0;

    /// Opens the file with the program that the user's desktop has for packages, which asks before it installs. False
    /// when there is none.
    virtual bool open(const std::filesystem::path& file) = 0;

    /// Shows the file in its folder.
    virtual void showInFolder(const std::filesystem::path& file, std::stop_token stop) = 0;
};

} // namespace fenlo
