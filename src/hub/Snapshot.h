#pragma once

#include "hub/HubConnection.h"
#include "hub/SnapshotManifest.h"

#include <functional>

namespace fenlo::hub {

/// The wanted files of a repository in a folder.
///
/// Threads: any, one call at a time; files come on several workers.
/// Errors:  HubError.
class Snapshot {
public:
    Snapshot(const HubConnection& connection, Clock& clock, const FilePatterns& wanted,
             const std::filesystem::path& folder)
        : m_connection(connection), m_clock(clock), m_wanted(wanted), m_folder(folder) {}

    /// Without the network: throws HubError offline when a file is missing.
    void requireWhole() const;

    /// Brings the folder to what the hub has, as HubClient::snapshot() says.
    void fetch(const std::function<void(DownloadProgress)>& progress, std::stop_token stop) const;

private:
    struct State;

    bool isWhole(const std::optional<SnapshotManifest>& stored) const;
    std::vector<RepoFile> list(int attempts, std::stop_token stop) const;
    void fetchListed(State& state, const std::function<void(DownloadProgress)>& progress, std::stop_token stop) const;
    bool isThere(const State& state, const RepoFile& file, std::stop_token stop) const;
    void removeStale(const State& state, std::stop_token stop) const;

    const HubConnection& m_connection;
    Clock& m_clock;
    const FilePatterns& m_wanted;
    const std::filesystem::path& m_folder;
};

} // namespace fenlo::hub
