#include "support/account/MergedStatistics.h"

#include "base/Dates.h"

#include <algorithm>
#include <cmath>

namespace fenlo::test {

using nlohmann::json;

namespace {

double numberIn(const json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_number() ? found->get<double>() : 0.0;
}

/// A machine's totals count what it did before it first sent entries, too.
struct Totals {
    double words = 0;
    double sessions = 0;
    double seconds = 0;

    void add(const Totals& other) {
        words += other.words;
        sessions += other.sessions;
        seconds += other.seconds;
    }

    Totals atLeast(const json& baseline) const {
        return {std::max(words, numberIn(baseline, "total_words")),
                std::max(sessions, numberIn(baseline, "total_sessions")),
                std::max(seconds, numberIn(baseline, "total_duration_secs"))};
    }
};

json historyEntry(const json& sent) {
    const double words = numberIn(sent, "words");
    const double seconds = numberIn(sent, "duration");
    json entry = {{"entry_id", sent["entry_id"]},
                  {"ts", dates::isoTimestamp(std::chrono::system_clock::now())},
                  {"words", static_cast<long>(words)},
                  {"wpm", seconds > 0 ? std::round(words / seconds * 600) / 10 : 0.0},
                  {"duration", seconds},
                  {"text_preview", sent.value("text_preview", "")}};
    if (sent.value("entry_type", "") == "meeting")
        entry["type"] = "meeting";
    return entry;
}

} // namespace

void MergedStatistics::take(const std::string& device, const json& entries, const json& baseline) {
    m_baselines[device] = baseline;
    const std::string today = dates::localDay(std::chrono::system_clock::now());
    for (const json& entry : entries)
        if (m_known.insert(entry.at("entry_id").get<std::string>()).second)
            m_entries.push_back({device, today, historyEntry(entry)});
}

json MergedStatistics::of(const std::set<std::string>& devices) const {
    std::map<std::string, Totals> perDevice;
    std::map<std::string, Totals> perDay;
    json history = json::array();
    for (const Entry& entry : m_entries) {
        if (!devices.contains(entry.device))
            continue;
        const Totals one{numberIn(entry.values, "words"), 1, numberIn(entry.values, "duration")};
        perDevice[entry.device].add(one);
        perDay[entry.day].add(one);
        history.push_back(entry.values);
    }
    Totals all;
    double days = static_cast<double>(perDay.size());
    for (const auto& [device, baseline] : m_baselines) {
        if (!devices.contains(device))
            continue;
        all.add(perDevice[device].atLeast(baseline));
        days = std::max(days, numberIn(baseline, "days_active"));
    }
    json daily = json::object();
    for (const auto& [day, totals] : perDay)
        daily[day] = {{"words", static_cast<long>(totals.words)},
                      {"sessions", static_cast<long>(totals.sessions)},
                      {"duration", totals.seconds}};
    return {{"total_words", static_cast<long>(all.words)},
            {"total_sessions", static_cast<long>(all.sessions)},
            {"total_duration_secs", all.seconds},
            {"days_active", static_cast<long>(days)},
            {"daily", daily},
            {"history", history}};
}

} // namespace fenlo::test
