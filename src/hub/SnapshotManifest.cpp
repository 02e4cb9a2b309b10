#include "hub/SnapshotManifest.h"

#include "base/Files.h"
#include "base/Json.h"
#include "hub/HubPaths.h"
#include "hub/TreePage.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo::hub {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

const std::string everything = "*";

json toJson(const RepoFile& file) {
    json entry = {{"path", file.path}, {"size", file.size}};
    if (file.sha256)
        entry["sha256"] = *file.sha256;
    if (file.blobId)
        entry["blob"] = *file.blobId;
    return entry;
}

std::optional<RepoFile> toFile(const json& entry) {
    RepoFile file{entry.at("path"), entry.at("size"), {}, {}};
    if (!isSafePath(file.path))
        return {};
    file.sha256 = hexadecimalHash(entry.value("sha256", ""), 64);
    file.blobId = hexadecimalHash(entry.value("blob", ""), 40);
    return file;
}

/// A plain string where nothing is ignored.
json toJson(const SnapshotManifest::Done& done) {
    if (done.ignore.empty())
        return done.allow;
    return {{"allow", done.allow}, {"ignore", done.ignore}};
}

SnapshotManifest::Done toDone(const json& entry) {
    if (entry.is_string())
        return {entry};
    return {entry.at("allow"), entry.at("ignore")};
}

std::vector<SnapshotManifest::Done> doneBy(const FilePatterns& wanted) {
    std::vector<SnapshotManifest::Done> done;
    for (const std::string& allow : wanted.allow)
        done.push_back({allow, wanted.ignore});
    if (wanted.allow.empty())
        done.push_back({everything, wanted.ignore});
    return done;
}

/// Whether all files of `wanted` are among those of `done`, as far as that can be told by the patterns' texts.
bool includes(const SnapshotManifest::Done& done, const SnapshotManifest::Done& wanted) {
    return (done.allow == everything || done.allow == wanted.allow) &&
           std::ranges::all_of(done.ignore, [&](const std::string& glob) {
               return std::ranges::find(wanted.ignore, glob) != wanted.ignore.end();
           });
}

} // namespace

SnapshotManifest SnapshotManifest::of(const HubRepo& repo, const FilePatterns& wanted, std::vector<RepoFile> files) {
    return {repo, doneBy(wanted), std::move(files)};
}

std::optional<SnapshotManifest> SnapshotManifest::load(const fs::path& folder) {
    const auto content = files::read(folder / manifestName);
    return content ? parse(*content) : std::nullopt;
}

std::optional<SnapshotManifest> SnapshotManifest::parse(std::string_view content) try {
    const json values = parseJson(content);
    SnapshotManifest manifest{{values.at("repo"), values.at("revision"), values.value("subfolder", "")}, {}, {}};
    for (const json& entry : values.at("globs"))
        manifest.done.push_back(toDone(entry));
    for (const json& entry : values.at("files")) {
        const auto file = toFile(entry);
        if (!file)
            return {};
        manifest.files.push_back(*file);
    }
    return manifest;
} catch (const json::exception&) {
    return {};
}

std::string SnapshotManifest::text() const {
    json entries = json::array();
    for (const RepoFile& file : files)
        entries.push_back(toJson(file));
    json globs = json::array();
    for (const Done& each : done)
        globs.push_back(toJson(each));
    json values = {{"repo", repo.name}, {"revision", repo.revision}, {"globs", globs}, {"files", entries}};
    if (!repo.subfolder.empty())
        values["subfolder"] = repo.subfolder;
    return writeJson(values, 2) + "\n";
}

void SnapshotManifest::save(const fs::path& folder) const {
    if (!files::writeAtomically(folder / manifestName, text()))
        throw HubError(HubError::Kind::disk, "cannot write " + (folder / manifestName).string() +
                                                 "; check the folder's permissions and the free space");
}

bool SnapshotManifest::isCompleteFor(const HubRepo& wantedRepo, const FilePatterns& wanted,
                                     const fs::path& folder) const {
    const auto isDone = [this](const Done& each) {
        return std::ranges::any_of(done, [&](const Done& had) { return includes(had, each); });
    };
    return repo == wantedRepo && std::ranges::all_of(doneBy(wanted), isDone) &&
           std::ranges::all_of(files,
                               [&](const RepoFile& file) { return !wanted.match(file.path) || hasSize(folder, file); });
}

bool SnapshotManifest::names(const RepoFile& file) const {
    return std::ranges::find(files, file) != files.end();
}

void SnapshotManifest::merge(const SnapshotManifest& newer, const FilePatterns& wanted) {
    if (repo != newer.repo) {
        *this = newer;
        return;
    }
    for (const Done& each : newer.done)
        if (std::ranges::find(done, each) == done.end())
            done.push_back(each);
    std::erase_if(files, [&](const RepoFile& file) { return wanted.match(file.path); });
    files.insert(files.end(), newer.files.begin(), newer.files.end());
}

bool hasSize(const fs::path& folder, const RepoFile& file) {
    std::error_code error;
    const fs::path place = folder / file.path;
    return fs::is_regular_file(fs::symlink_status(place, error)) && fs::file_size(place, error) == file.size && !error;
}

} // namespace fenlo::hub
