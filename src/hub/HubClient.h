#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {
class Clock;
class HttpClient;
} // namespace fenlo

namespace fenlo::hub {

/// what() is one line that names the repository or file, the fault and the remedy.
struct HubError : std::runtime_error {
    enum class Kind { notFound, unauthorized, network, badReply, damaged, diskFull, disk, cancelled, offline };
    HubError(Kind reason, const std::string& message) : std::runtime_error(message), kind(reason) {}
    Kind kind;
};

struct HubSettings {
    std::string endpoint = "https://huggingface.co"; // scheme and host
    std::string token;                               // empty for none; never logged, never sent to another host
    bool offline = false;                            // use only what is on the disk
    double idleLimit = 30;                           // seconds after which a request that brings too little is given up
    double leastRate = 1000;                         // bytes per second; less is too little

    /// `HF_ENDPOINT`, `HF_TOKEN` and `HF_HUB_OFFLINE` over the defaults.
    static HubSettings fromEnvironment();
};

/// A repository on the hub, as it is at a revision. With a subfolder, the repository is what lies below that: paths and
/// patterns are relative to it.
struct HubRepo {
    std::string name;              // "publisher/name"
    std::string revision = "main"; // a branch, a tag or a commit
    std::string subfolder = {};    // "folder" or "folder/within"; empty for the whole repository

    bool operator==(const HubRepo&) const = default;
};

/// Which files of a repository: those that an allow pattern matches, all without one, but for those that an ignore
/// pattern matches. Patterns are globs.
struct FilePatterns {
    std::vector<std::string> allow = {};
    std::vector<std::string> ignore = {};

    bool match(const std::string& path) const;
};

struct RepoFile {
    std::string path; // relative, with forward slashes; never leaves the repository's folder
    std::uint64_t size = 0;
    std::optional<std::string> sha256; // lower-case hexadecimal, where the hub tells it
    std::optional<std::string> blobId; // git's SHA-1 of the content, where the hub tells that instead

    bool operator==(const RepoFile&) const = default;
};

struct DownloadProgress {
    std::uint64_t received = 0; // bytes, with those of earlier attempts; falls when a file starts over
    std::uint64_t total = 0;
};

/// Client of a Hugging Face hub: lists repositories and downloads files.
///
/// Threads: any; calls block. Several files are downloaded at a time.
/// Errors:  HubError; of the kind notFound for a name, revision or subfolder that cannot be one, before anything is
///          sent. A stop request ends a call within a fraction of a second; the next attempt continues from what has
///          been received.
class HubClient {
public:
    /// The clock times the pauses before another attempt.
    HubClient(HttpClient& http, HubSettings settings, Clock& clock);

    std::vector<RepoFile> listFiles(const HubRepo& repo, const FilePatterns& wanted, std::stop_token stop);

    /// Downloads the matching files into `folder`, each at its path. A file that is already whole is not fetched again.
    /// A broken download continues where it stopped, as long as the hub has the same file. A file gets its name only
    /// when its size and hash are right. A file that changes on the hub meanwhile has the repository listed again,
    /// once, so that the folder never holds a mixture; files of an earlier snapshot that the repository has no more are
    /// removed, unless somebody has changed them. When the hub cannot be reached, files that were complete before, at
    /// the same revision, are used as they are; those of a commit, which never changes, are not even asked for. A
    /// second process that wants the same folder waits for the first. The progress callback may be empty; it is called
    /// on the calling thread.
    void snapshot(const HubRepo& repo, const FilePatterns& wanted, const std::filesystem::path& folder,
                  const std::function<void(DownloadProgress)>& progress, std::stop_token stop);

private:
    HttpClient& m_http;
    const HubSettings m_settings;
    Clock& m_clock;
};

/// `*` stands for any run of characters, slashes too, `?` for one, `[a-f_]` for one of a set, `[!a]` for one that is
/// not in it. A slash at the end of the glob stands for all that is in the folder.
bool matchesGlob(std::string_view path, std::string_view glob);

/// The glob that matches this text only.
std::string literalGlob(std::string_view text);

} // namespace fenlo::hub
