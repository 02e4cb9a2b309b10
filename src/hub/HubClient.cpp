#include "hub/HubClient.h"

#include "base/Clock.h"
#include "base/Environment.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "base/Url.h"
#include "hub/FolderLock.h"
#include "hub/HubPaths.h"
#include "hub/ParallelFetch.h"
#include "hub/Retries.h"
#include "hub/SnapshotManifest.h"
#include "hub/TreePage.h"
#include "hub/WebAddress.h"

#include <set>

namespace fenlo::hub {

namespace fs = std::filesystem;

namespace {

using Kind = HubError::Kind;

constexpr int listingAttempts = 5;
constexpr int maxPages = 1000;
constexpr std::size_t maxFiles = 100'000;

std::string variable(const char* name) {
    return text::trimWhitespaceAndNewlines(environment(name));
}

HttpResponse getPage(const HubConnection& connection, const std::string& address, Clock& clock, int attempts,
                     std::stop_token stop) {
    HttpRequest request;
    request.url = address;
    for (Retries retries(clock, attempts);;)
        try {
            return connection.get(request, connection.repo(), stop);
        } catch (const Silence&) {
            throw;
        } catch (const PassingFault& fault) {
            retries.waitAfter(fault, stop);
        }
}

[[noreturn]] void refuseList(const std::string& repo, const std::string& fault) {
    throw HubError(Kind::badReply, "the hub's list of the files of " + repo + " " + fault + "; try again later");
}

/// All files of a repository that match, from all pages of the hub's listing.
std::vector<RepoFile> list(const HubConnection& connection, const std::vector<std::string>& globs, Clock& clock,
                           int attempts, std::stop_token stop) {
    std::vector<RepoFile> files;
    std::set<std::string> paths;
    std::string address = connection.listingAddress();
    for (int page = 0; !address.empty(); ++page) {
        if (page == maxPages || paths.size() > maxFiles)
            refuseList(connection.repo(), "has no end");
        const HttpResponse answer = getPage(connection, address, clock, attempts, stop);
        for (RepoFile& file : parseTreePage(connection.repo(), answer.body)) {
            if (!paths.insert(file.path).second)
                refuseList(connection.repo(), "names \"" + shown(file.path) + "\" twice");
            if (matchesAny(file.path, globs))
                files.push_back(std::move(file));
        }
        const std::string next = nextPage(headerOf(answer, "link"));
        const std::string previous = std::exchange(address, next.empty() ? "" : url::resolveAddress(address, next));
        if (!next.empty() && url::originOf(address) != url::originOf(previous))
            refuseList(connection.repo(), "goes on at another host");
    }
    return files;
}

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!fs::is_directory(folder, error))
        throw HubError(Kind::disk,
                       "cannot make the folder " + folder.string() + "; check the path and its permissions");
}

void requireRoom(const fs::path& folder, const std::string& repo, const std::vector<RepoFile>& files) {
    std::uint64_t needed = 0;
    for (const RepoFile& file : files)
        if (!hasSize(folder, file))
            needed += file.size - PartialFile::sizeOf(folder, file);
    std::error_code error;
    const fs::space_info space = fs::space(folder, error);
    if (!error && needed > space.available)
        throw diskFull(folder, repo, needed);
}

} // namespace

HubSettings HubSettings::fromEnvironment() {
    HubSettings settings;
    if (const std::string endpoint = variable("HF_ENDPOINT"); !endpoint.empty())
        settings.endpoint = endpoint;
    settings.token = variable("HF_TOKEN");
    const std::string offline = text::lower(variable("HF_HUB_OFFLINE"));
    settings.offline = offline == "1" || offline == "true" || offline == "yes" || offline == "on";
    return settings;
}

HubClient::HubClient(HttpClient& http, HubSettings settings, Clock& clock)
    : m_http(http), m_settings(std::move(settings)), m_clock(clock) {}

std::vector<RepoFile> HubClient::listFiles(const std::string& repo, const std::vector<std::string>& globs,
                                           std::stop_token stop) {
    const HubConnection connection(m_http, m_settings, repo);
    if (m_settings.offline)
        throw HubError(Kind::offline, "cannot list the files of " + repo + ": HF_HUB_OFFLINE forbids the network");
    return list(connection, globs, m_clock, listingAttempts, stop);
}

void HubClient::snapshot(const std::string& repo, const std::vector<std::string>& globs, const fs::path& folder,
                         const std::function<void(DownloadProgress)>& progress, std::stop_token stop) {
    const HubConnection connection(m_http, m_settings, repo);
    if (m_settings.offline) {
        const auto stored = SnapshotManifest::load(folder);
        if (!stored || !stored->isCompleteFor(repo, globs, folder))
            throw HubError(Kind::offline, repo + " is not whole in " + folder.string() +
                                              ", and HF_HUB_OFFLINE forbids the network; unset it to download");
        return;
    }

    makeFolder(folder);
    const FolderLock lock(folder, m_clock, stop);
    const auto stored = SnapshotManifest::load(folder);
    const bool isUsable = stored && stored->isCompleteFor(repo, globs, folder);
    SnapshotManifest wanted{repo, HubConnection::revision, globs.empty() ? std::vector<std::string>{"*"} : globs, {}};
    try {
        wanted.files = list(connection, globs, m_clock, isUsable ? 1 : listingAttempts, stop);
    } catch (const HubError& error) {
        if (!isUsable || (error.kind != Kind::network && error.kind != Kind::badReply))
            throw;
        logInfo("Using {} as it is: {}", folder.string(), error.what());
        return;
    }
    if (wanted.files.empty())
        throw HubError(Kind::notFound, repo + " has no file that matches " + shown(text::join(globs, ", ")) +
                                           "; check the name of the model");
    requireRoom(folder, repo, wanted.files);

    const auto isThere = [&](const RepoFile& file, std::stop_token end) {
        const fs::path place = placeIn(folder, file.path);
        return stored && stored->names(file) ? hasSize(folder, file) : holds(place, file, end);
    };
    fetchAll(
        wanted.files,
        [&](const RepoFile& file, const FileDownload::Tell& tell, std::stop_token end) {
            if (isThere(file, end)) {
                tell(static_cast<std::int64_t>(file.size));
                return;
            }
            FileDownload download(connection, m_clock, folder, file, tell);
            download.run(end);
            // Once the first file is exchanged, the folder is not whole until all of them are.
            if (stored)
                files::removeQuietly(folder / manifestName);
            download.moveToPlace();
        },
        progress, stop);
    if (stop.stop_requested())
        throwCancelled();

    SnapshotManifest now = stored.value_or(wanted);
    now.merge(wanted);
    now.save(folder);
    std::error_code ignored;
    fs::remove(folder / partialFolderName, ignored); // only when nothing is left in it
}

} // namespace fenlo::hub
