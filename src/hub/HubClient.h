#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
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
    bool offline = false;                            // only what is on disk
    double idleLimit = 30;                           // seconds after which a request that brings too little is given up
    double leastRate = 1000;                         // bytes a second, below which it brings too little

    /// `HF_ENDPOINT`, `HF_TOKEN` and `HF_HUB_OFFLINE` over the defaults.
    static HubSettings fromEnvironment();
};

struct RepoFile {
    std::string path; // relative, with forward slashes; never leaves the repository's folder
    std::uint64_t size = 0;
    std::optional<std::string> sha256; // lower-case hexadecimal, where the hub tells it
    std::optional<std::string> blobId; // git's SHA-1 of the content, where the hub tells that instead
};

struct DownloadProgress {
    std::uint64_t received = 0; // bytes, those of earlier attempts included; falls when a file must be begun anew
    std::uint64_t total = 0;
};

/// Client of a Hugging Face hub: lists repositories and brings files to the disk.
///
/// Threads: any; the calls block their caller, and several files come side by side.
/// Errors:  HubError. A stop request ends a call within a fraction of a second and leaves what has come for the next
///          attempt to go on from.
class HubClient {
public:
    /// The clock times the pauses before another attempt.
    HubClient(HttpClient& http, HubSettings settings, Clock& clock);

    /// The files of a repository whose path matches one of the globs (all of them without globs). `*` also crosses
    /// slashes.
    std::vector<RepoFile> listFiles(const std::string& repo, const std::vector<std::string>& globs,
                                    std::stop_token stop);

    /// Brings the matching files into `folder`, each at its path. A file that is there whole is not fetched again; a
    /// broken download goes on where it stopped when the hub still has the same file; a file appears under its name
    /// only when its size and hash are right. Offline, or where the hub cannot be reached, what is on the disk serves
    /// when it was complete before. A second process that wants the same folder waits for the first. The progress
    /// callback, which may be empty, comes on the calling thread.
    void snapshot(const std::string& repo, const std::vector<std::string>& globs, const std::filesystem::path& folder,
                  const std::function<void(DownloadProgress)>& progress, std::stop_token stop);

private:
    HttpClient& m_http;
    const HubSettings m_settings;
    Clock& m_clock;
};

/// `*` stands for any run of characters, `?` for one.
bool matchesGlob(const std::string& path, const std::string& glob);

} // namespace fenlo::hub
