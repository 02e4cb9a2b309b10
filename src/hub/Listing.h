#pragma once

#include "hub/HubConnection.h"

namespace fenlo::hub {

inline constexpr int listingAttempts = 5;

/// The wanted files of a repository, from all pages of the hub's listing. Passing faults are tried again, so many
/// attempts in all. Throws HubError.
std::vector<RepoFile> list(const HubConnection& connection, const FilePatterns& wanted, Clock& clock, int attempts,
                           std::stop_token stop);

} // namespace fenlo::hub
