#include "hub/Snapshot.h"

#include "base/Clock.h"
#include "base/Files.h"
#include "base/Guarded.h"
#include "base/Log.h"
#include "base/Text.h"
#include "hub/FolderLock.h"
#include "hub/HubPaths.h"
#include "hub/Listing.h"
#include "hub/ParallelFetch.h"
#include "hub/Retries.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace fenlo::hub {

namespace fs = std::filesystem;

namespace {

using Kind = HubError::Kind;

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder, error))
        throw HubError(Kind::disk,
                       "cannot make the folder " + folder.string() + "; check the path and its permissions");
}

void requireRoom(const fs::path& folder, const std::string& what, const std::vector<RepoFile>& files) {
    std::uint64_t needed = 0;
    for (const RepoFile& file : files)
        if (!hasSize(folder, file))
            needed += file.size - PartialFile::sizeOf(folder, file);
    std::error_code error;
    const fs::space_info space = fs::space(folder, error);
    if (!error && needed > space.available)
        throw diskFull(folder, what, needed);
}

std::unordered_set<std::string> pathsOf(const std::vector<RepoFile>& files) {
    std::unordered_set<std::string> paths;
    for (const RepoFile& file : files)
        paths.insert(file.path);
    return paths;
}

/// Whether a download failed because the hub has something else than it listed.
bool tellsOfChange(const HubError& error) {
    return error.kind == Kind::damaged || error.kind == Kind::notFound;
}

} // namespace

struct Snapshot::State {
    std::optional<SnapshotManifest> stored; // by an earlier snapshot
    std::vector<RepoFile> files;            // as the hub lists them
    Guarded<std::vector<RepoFile>> arrived; // in this snapshot, whole and checked
};

bool Snapshot::isWhole(const std::optional<SnapshotManifest>& stored) const {
    return stored && stored->isCompleteFor(m_connection.repo(), m_wanted, m_folder);
}

void Snapshot::requireWhole() const {
    if (!isWhole(SnapshotManifest::load(m_folder)))
        throw HubError(Kind::offline, m_connection.described() + " is not whole in " + m_folder.string() +
                                          ", and HF_HUB_OFFLINE forbids the network; unset it to download");
}

std::vector<RepoFile> Snapshot::list(int attempts, std::stop_token stop) const {
    auto files = hub::list(m_connection, m_wanted, m_clock, attempts, stop);
    if (files.empty())
        throw HubError(Kind::notFound, m_connection.described() + " has no file that matches " +
                                           shown(text::join(m_wanted.allow, ", ")) + "; check the name of the model");
    return files;
}

void Snapshot::fetch(const std::function<void(DownloadProgress)>& progress, std::stop_token stop) const {
    makeFolder(m_folder);
    const FolderLock lock(m_folder, m_clock, stop);
    State state{SnapshotManifest::load(m_folder), {}, {}};
    const bool isUsable = isWhole(state.stored);
    if (isUsable && isCommit(m_connection.repo().revision))
        return;
    try {
        state.files = list(isUsable ? 1 : listingAttempts, stop);
    } catch (const HubError& error) {
        if (!isUsable || (error.kind != Kind::network && error.kind != Kind::badReply))
            throw;
        logInfo("Using {} as it is: {}", m_folder.string(), error.what());
        return;
    }
    try {
        fetchListed(state, progress, stop);
    } catch (const HubError& error) {
        if (!tellsOfChange(error))
            throw;
        logInfo("Listing {} again: {}", m_connection.described(), error.what());
        const auto before = std::exchange(state.files, list(listingAttempts, stop));
        const auto listed = pathsOf(state.files);
        for (const RepoFile& file : before)
            if (!listed.contains(file.path))
                PartialFile::discard(m_folder, file);
        fetchListed(state, progress, stop);
    }
    removeStale(state, stop);
    if (stop.stop_requested())
        throwCancelled();
    const auto whole = SnapshotManifest::of(m_connection.repo(), m_wanted, state.files);
    SnapshotManifest now = state.stored.value_or(whole);
    now.merge(whole, m_wanted);
    now.save(m_folder);
    std::error_code ignored;
    fs::remove(m_folder / partialFolderName, ignored); // only when nothing is left in it
}

void Snapshot::fetchListed(State& state, const std::function<void(DownloadProgress)>& progress,
                           std::stop_token stop) const {
    requireRoom(m_folder, m_connection.described(), state.files);
    fetchAll(
        state.files,
        [&](const RepoFile& file, const FileDownload::Tell& tell, std::stop_token end) {
            if (isThere(state, file, end)) {
                tell(static_cast<std::int64_t>(file.size));
                return;
            }
            FileDownload download(m_connection, m_clock, m_folder, file, tell);
            download.run(end);
            // Once the first file is exchanged, the folder is not whole until all of them are.
            if (state.stored)
                files::removeQuietly(m_folder / manifestName);
            download.moveToPlace();
            state.arrived.with([&](std::vector<RepoFile>& arrived) {
                std::erase_if(arrived, [&](const RepoFile& had) { return had.path == file.path; });
                arrived.push_back(file);
            });
        },
        progress, stop);
}

/// By the records where they name the file, otherwise by its content. Where the hub gives no hash, a file of the same
/// size may be that of another revision.
bool Snapshot::isThere(const State& state, const RepoFile& file, std::stop_token stop) const {
    const fs::path place = placeIn(m_folder, file.path);
    const auto had = state.arrived.with([&](const std::vector<RepoFile>& arrived) {
        const auto found = std::ranges::find(arrived, file.path, &RepoFile::path);
        return found == arrived.end() ? std::nullopt : std::optional(*found);
    });
    if (had)
        return had == file && hasSize(m_folder, file);
    if (contentHash(file).empty() && state.stored && state.stored->repo != m_connection.repo())
        return false;
    return state.stored && state.stored->names(file) ? hasSize(m_folder, file) : holds(place, file, stop);
}

/// Removes what an earlier snapshot brought and the hub has no more. A file that somebody has changed stays.
void Snapshot::removeStale(const State& state, std::stop_token stop) const {
    const HubRepo& repo = m_connection.repo();
    if (!state.stored || state.stored->repo.name != repo.name || state.stored->repo.subfolder != repo.subfolder)
        return;
    const auto listed = pathsOf(state.files);
    for (const RepoFile& had : state.stored->files) {
        if (listed.contains(had.path) || !m_wanted.match(had.path) || contentHash(had).empty())
            continue;
        if (const fs::path place = placeIn(m_folder, had.path); holds(place, had, stop)) {
            logInfo("Removing {}, which {} has no more", place.string(), m_connection.described());
            files::removeQuietly(place);
        }
    }
}

} // namespace fenlo::hub
