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

const std::vector<std::string> everything{"*"};

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

} // namespace

std::optional<SnapshotManifest> SnapshotManifest::load(const fs::path& folder) {
    const auto content = files::read(folder / manifestName);
    return content ? parse(*content) : std::nullopt;
}

std::optional<SnapshotManifest> SnapshotManifest::parse(std::string_view content) try {
    const json values = parseJson(content);
    SnapshotManifest manifest{values.at("repo"), values.at("revision"), values.at("globs"), {}};
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
    const json values = {{"repo", repo}, {"revision", revision}, {"globs", globs}, {"files", entries}};
    return writeJson(values, 2) + "\n";
}

void SnapshotManifest::save(const fs::path& folder) const {
    if (!files::writeAtomically(folder / manifestName, text()))
        throw HubError(HubError::Kind::disk, "cannot write " + (folder / manifestName).string() +
                                                 "; check the folder's permissions and the free space");
}

bool SnapshotManifest::isCompleteFor(const std::string& wantedRepo, const std::vector<std::string>& wantedGlobs,
                                     const fs::path& folder) const {
    const auto isDone = [this](const std::string& glob) {
        return std::find(globs.begin(), globs.end(), glob) != globs.end();
    };
    const auto& wanted = wantedGlobs.empty() ? everything : wantedGlobs;
    return repo == wantedRepo && (isDone("*") || std::all_of(wanted.begin(), wanted.end(), isDone)) &&
           std::all_of(files.begin(), files.end(),
                       [&](const RepoFile& file) { return !matchesAny(file.path, wanted) || hasSize(folder, file); });
}

bool SnapshotManifest::names(const RepoFile& file) const {
    return std::any_of(files.begin(), files.end(), [&](const RepoFile& known) {
        return known.path == file.path && known.size == file.size && known.sha256 == file.sha256 &&
               known.blobId == file.blobId;
    });
}

void SnapshotManifest::merge(const SnapshotManifest& newer) {
    if (repo != newer.repo || revision != newer.revision) {
        *this = newer;
        return;
    }
    for (const std::string& glob : newer.globs)
        if (std::find(globs.begin(), globs.end(), glob) == globs.end())
            globs.push_back(glob);
    std::erase_if(files, [&](const RepoFile& file) { return matchesAny(file.path, newer.globs); });
    files.insert(files.end(), newer.files.begin(), newer.files.end());
}

bool matchesAny(const std::string& path, const std::vector<std::string>& globs) {
    return globs.empty() ||
           std::any_of(globs.begin(), globs.end(), [&](const std::string& glob) { return matchesGlob(path, glob); });
}

bool hasSize(const fs::path& folder, const RepoFile& file) {
    std::error_code error;
    const fs::path place = folder / file.path;
    return fs::is_regular_file(fs::symlink_status(place, error)) && fs::file_size(place, error) == file.size && !error;
}

} // namespace fenlo::hub
