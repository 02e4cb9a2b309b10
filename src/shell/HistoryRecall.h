#pragma once

#include "base/Dates.h"
#include "shell/Statistics.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// The entries that a question about the past may mean, the newest `limit` of them, as a text for a language model;
/// nothing when there are none. `history` is newest first.
std::optional<std::string> recallText(const std::vector<HistoryEntry>& history, std::string_view query,
                                      std::size_t limit, dates::Moment now);

} // namespace fenlo
