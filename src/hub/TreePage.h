#pragma once

#include "hub/HubClient.h"

#include <string_view>

namespace fenlo::hub {

/// The files in a page of the hub's listing of a repository (GET /api/models/…/tree/…). Throws HubError badReply for
/// what is no such page, and for a path that would not stay in the repository's folder.
std::vector<RepoFile> parseTreePage(const std::string& repo, std::string_view body);

/// The hash in lower case and without a "sha256:" before it; nothing when it is none of so many digits.
std::optional<std::string> hexadecimalHash(std::string_view text, std::size_t digits);

} // namespace fenlo::hub
