#pragma once

#include "hub/HubClient.h"

#include <string_view>

namespace fenlo::hub {

/// Which files of a repository a folder holds. Written into the folder when all of them are there.
struct SnapshotManifest {
    /// An allow pattern whose files are all there, but for ignored ones.
    struct Done {
        std::string allow;
        std::vector<std::string> ignore = {};

        bool operator==(const Done&) const = default;
    };

    HubRepo repo;
    std::vector<Done> done;
    std::vector<RepoFile> files;

    /// A whole snapshot.
    static SnapshotManifest of(const HubRepo& repo, const FilePatterns& wanted, std::vector<RepoFile> files);

    /// Nothing when it is missing or damaged.
    static std::optional<SnapshotManifest> load(const std::filesystem::path& folder);
    static std::optional<SnapshotManifest> parse(std::string_view content);
    std::string text() const;
    /// Throws HubError disk.
    void save(const std::filesystem::path& folder) const;

    /// Whether the folder has every wanted file of the repository at its revision, judged by names and sizes.
    bool isCompleteFor(const HubRepo& wantedRepo, const FilePatterns& wanted,
                       const std::filesystem::path& folder) const;

    /// Whether this very content was put into the folder.
    bool names(const RepoFile& file) const;

    /// Adds a newer completed snapshot, of all that the patterns match. Of the same repository and revision, what they
    /// do not match stays.
    void merge(const SnapshotManifest& newer, const FilePatterns& wanted);
};

/// Whether the folder has a plain file of the right size.
bool hasSize(const std::filesystem::path& folder, const RepoFile& file);

} // namespace fenlo::hub
