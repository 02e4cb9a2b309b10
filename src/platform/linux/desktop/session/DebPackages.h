#pragma once

#include "platform/PackageSystem.h"

namespace fenlo {

/// Debian packages, through the programs of dpkg. The desktop's program for them is the one that the user, or the
/// desktop, has chosen for the type of such files.
class DebPackages final : public PackageSystem {
public:
    std::optional<PackageFacts> ownPackage(std::stop_token stop) override;
    std::optional<PackageFacts> read(const std::filesystem::path& file, std::stop_token stop) override;
    bool open(const std::filesystem::path& file) override;
    void showInFolder(const std::filesystem::path& file, std::stop_token stop) override;
};

} // namespace fenlo
