#pragma once

#include "base/Files.h"

#include <filesystem>

namespace fenlo::test {

/// A new, empty folder, which is removed with its owner.
class TemporaryFolder {
public:
    TemporaryFolder() { std::filesystem::create_directories(path); }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    operator const std::filesystem::path&() const { return path; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path / name; }

    const std::filesystem::path path = files::temporaryFile("folder-", "");
};

} // namespace fenlo::test
