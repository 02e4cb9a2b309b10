#pragma once

#include "hub/HubClient.h"

#include <string_view>

namespace fenlo::hub {

/// The files on a page of the hub's listing of a repository (GET /api/models/…/tree/…), by their paths below the
/// subfolder. Throws HubError badReply for anything else, and for a path that would leave that folder.
std::vector<RepoFile> parseTreePage(const HubRepo& repo, std::string_view body);

/// The hash in lower case, without "sha256:"; nothing when it does not have so many hexadecimal digits.
std::optional<std::string> hexadecimalHash(std::string_view text, std::size_t digits);

} // namespace fenlo::hub
