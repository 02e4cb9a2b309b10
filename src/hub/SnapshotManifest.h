#pragma once

#include "hub/HubClient.h"

#include <string_view>

namespace fenlo::hub {

/// What a folder holds of a repository, kept in the folder itself and written when all of it is there.
struct SnapshotManifest {
    std::string repo;
    std::string revision;
    std::vector<std::string> globs; // those that were completed
    std::vector<RepoFile> files;

    /// Nothing when there is none or it cannot be used.
    static std::optional<SnapshotManifest> load(const std::filesystem::path& folder);
    static std::optional<SnapshotManifest> parse(std::string_view content);
    std::string text() const;
    /// Throws HubError disk.
    void save(const std::filesystem::path& folder) const;

    /// Whether the folder has every file of the repository that the globs name, as far as names and sizes tell.
    bool isCompleteFor(const std::string& wantedRepo, const std::vector<std::string>& wantedGlobs,
                       const std::filesystem::path& folder) const;

    /// Whether this very content was put into the folder.
    bool names(const RepoFile& file) const;

    /// Takes in a newer completed snapshot; what it does not speak of stays.
    void merge(const SnapshotManifest& newer);
};

/// Whether the path matches one of the globs, or there are none.
bool matchesAny(const std::string& path, const std::vector<std::string>& globs);

/// Whether the folder has a plain file of the right size.
bool hasSize(const std::filesystem::path& folder, const RepoFile& file);

} // namespace fenlo::hub
