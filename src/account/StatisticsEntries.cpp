#include "account/StatisticsEntries.h"

#include "shell/StatisticsFile.h"
#include "shell/StatisticsStore.h"

#include <nlohmann/json.hpp>

namespace fenlo {

using Json = nlohmann::json;

namespace {

std::string textIn(const Json& entry, const char* name, const char* fallback = "") {
    const Json& value = memberOf(entry, name);
    return value.is_string() ? value.get<std::string>() : fallback;
}

bool staysHere(const Json& entry) {
    const Json& value = memberOf(entry, staysHereMember);
    return value.is_boolean() && value.get<bool>();
}

} // namespace

Json statisticsEntries(const std::vector<Json>& entries, SpokenWords words) {
    Json told = Json::array();
    for (const Json& entry : entries)
        told.push_back(
            {{"entry_id", textIn(entry, "entry_id")},
             {"words", toCount(memberOf(entry, "words"))},
             {"duration", toNumber(memberOf(entry, "duration"))},
             {"text_preview",
              words == SpokenWords::stayHere || staysHere(entry) ? std::string() : textIn(entry, "text_preview")},
             {"entry_type", textIn(entry, "type", "dictation")}});
    return told;
}

Json statisticsBaseline(const AllTimeStats& stats) {
    return {{"total_words", stats.totalWords},
            {"total_sessions", stats.totalSessions},
            {"total_duration_secs", stats.totalMinutes * 60.0},
            {"days_active", stats.daysActive}};
}

std::set<std::string> idsOf(const std::vector<Json>& entries) {
    std::set<std::string> ids;
    for (const Json& entry : entries)
        ids.insert(textIn(entry, "entry_id"));
    return ids;
}

} // namespace fenlo
