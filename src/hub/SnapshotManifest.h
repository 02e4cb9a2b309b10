#pragma once

#include "hub/HubClient.h"

#include <string_view>

namespace fenlo::hub {

/// Which files of a repository a folder holds. Written into the folder when all of them are there.
struct SnapshotManifest {
    std::string repo;
    std::string revision;
    std::vector<std::string> globs; // whose files are all there
    std::vector<RepoFile> files;

    /// Nothing when it is missing or damaged.
    static std::optional<SnapshotManifest> load(const std::filesystem::path& folder);
    static std::optional<SnapshotManifest> parse(std::string_view content);
    std::string text() const;
    /// Throws HubError disk.
    void save(const std::filesystem::path& folder) const;

    /// Whether the folder has every file of the repository that the globs match, judged by names and sizes.
    bool isCompleteFor(const std::string& wantedRepo, const std::vector<std::string>& wantedGlobs,
                       const std::filesystem::path& folder) const;

    /// Whether this very content was put into the folder.
    bool names(const RepoFile& file) const;

    /// Adds a newer completed snapshot; files that it does not name stay.
    void merge(const SnapshotManifest& newer);
};

/// Whether the path matches one of the globs, or there are none.
bool matchesAny(const std::string& path, const std::vector<std::string>& globs);

/// Whether the folder has a plain file of the right size.
bool hasSize(const std::filesystem::path& folder, const RepoFile& file);

} // namespace fenlo::hub
