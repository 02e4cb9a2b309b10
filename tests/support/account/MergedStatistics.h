#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

namespace fenlo::test {

/// What the service keeps of the dictations on all machines of all people.
class MergedStatistics {
public:
    /// What a machine sends: entries that it has not sent before, and its own totals. An entry that came already, from
    /// whichever machine, is not counted again.
    void take(const std::string& device, const nlohmann::json& entries, const nlohmann::json& baseline);

    /// The totals, days and entries of these machines together. Entries carry no date of their own, so they count for
    /// the day on which they came.
    nlohmann::json of(const std::set<std::string>& devices) const;

private:
    struct Entry {
        std::string device;
        std::string day;
        nlohmann::json values; // as in the history of a machine
    };

    std::vector<Entry> m_entries; // oldest first
    std::set<std::string> m_known;
    std::map<std::string, nlohmann::json> m_baselines;
};

} // namespace fenlo::test
