#pragma once

#include "hub/FileDownload.h"

namespace fenlo::hub {

/// Runs `fetch` for each file, several at a time, and reports progress on the calling thread. The first failure stops
/// the others and is thrown once they have ended.
///
/// Threads: `fetch` runs on workers, which end before this returns; its `tell` may be called on any thread.
/// Errors:  HubError; any other exception of `fetch` becomes one.
void fetchAll(const std::vector<RepoFile>& files,
              const std::function<void(const RepoFile&, const FileDownload::Tell&, std::stop_token)>& fetch,
              const std::function<void(DownloadProgress)>& progress, std::stop_token stop);

std::uint64_t totalSize(const std::vector<RepoFile>& files);

} // namespace fenlo::hub
