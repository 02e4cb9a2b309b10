#pragma once

#include "hub/FileDownload.h"

namespace fenlo::hub {

/// Runs `fetch` for each file, several side by side, and tells the progress on the calling thread. The first failure
/// stops the others, and is thrown when they have ended.
///
/// Threads: `fetch` runs on workers, which end before this returns; its tell function on any.
/// Errors:  HubError; whatever else leaves `fetch` becomes one.
void fetchAll(const std::vector<RepoFile>& files,
              const std::function<void(const RepoFile&, const FileDownload::Tell&, std::stop_token)>& fetch,
              const std::function<void(DownloadProgress)>& progress, std::stop_token stop);

std::uint64_t totalSize(const std::vector<RepoFile>& files);

} // namespace fenlo::hub
