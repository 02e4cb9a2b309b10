#pragma once

#include "shell/Statistics.h"

#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <vector>

/// The statistics as the service is told them.
///
/// Threads: any; pure.
namespace fenlo {

/// An object for each entry of the history file. Those that were dictated in offline mode, or all where `words` stay
/// here, go without their text.
nlohmann::json statisticsEntries(const std::vector<nlohmann::json>& entries, SpokenWords words);

nlohmann::json statisticsBaseline(const AllTimeStats& stats);

std::set<std::string> idsOf(const std::vector<nlohmann::json>& entries);

} // namespace fenlo
