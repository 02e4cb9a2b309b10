#pragma once

#include "base/Files.h"
#include "base/Text.h"
#include "platform/PackageSystem.h"

#include <vector>

namespace fenlo::test {

/// Packages are texts that begin with their name, version and architecture.
class FakePackageSystem final : public PackageSystem {
public:
    std::optional<PackageFacts> ownPackage(std::stop_token) override { return own; }
    std::optional<PackageFacts> read(const std::filesystem::path& file, std::stop_token) override {
        const auto words = text::words(files::read(file).value_or(""));
        return words.size() < 3 ? std::nullopt : std::optional(PackageFacts{words[0], words[1], words[2]});
    }
    bool open(const std::filesystem::path& file) override {
        if (hasInstaller)
            opened.push_back(file);
        return hasInstaller;
    }
    void showInFolder(const std::filesystem::path& file, std::stop_token) override { shown.push_back(file); }

    std::optional<PackageFacts> own = PackageFacts{"fenlo", "1.4.0", "amd64"};
    bool hasInstaller = true;
    std::vector<std::filesystem::path> opened;
    std::vector<std::filesystem::path> shown;
};

} // namespace fenlo::test
