#pragma once

#include "account/ReleaseVersion.h"

#include <chrono>
#include <filesystem>
#include <optional>

namespace fenlo {

/// What the search for updates remembers from one run of the program to the next.
struct UpdateRecord {
    std::optional<ReleaseVersion> skipped;        // the user does not want to hear of it again
    std::optional<ReleaseVersion> newestVerified; // of any package that was found to be right: no feed goes below it
    std::optional<std::chrono::system_clock::time_point> lastCheck; // of the daily ones

    /// What cannot be read is left out.
    static UpdateRecord load(const std::filesystem::path& file);
    /// A record that cannot be written is lost with the process.
    void save(const std::filesystem::path& file) const;

    /// Whether the daily check has its turn: a day after the last one, and at once where the clock was set back.
    bool isDue(std::chrono::system_clock::time_point now) const;
};

} // namespace fenlo
