#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace simdjson {
struct padded_string;
}

namespace fenlo {

/// The statistics file, parsed only as far as needed: parts that do not change, unknown keys included, keep their text
/// and are written back byte for byte. So a change costs a check and a copy of the file, but does not parse every
/// entry.
///
/// Threads: a value, for one thread at a time.
/// Errors:  a file that cannot be read or is damaged counts as empty; save() sets it aside.
class StatisticsFile {
public:
    struct Day {
        std::string date;      // "2026-11-15"
        std::string_view text; // of its object
    };

    static StatisticsFile load(const std::filesystem::path& path);

    /// The same without the history, which is not read at all when save() wrote the file. Do not save the result.
    static StatisticsFile loadCounters(const std::filesystem::path& path);

    /// Replaces the file; readable by its owner only. False when that fails, which leaves the old file.
    bool save(const std::filesystem::path& path, std::chrono::system_clock::time_point now) const;

    /// There was a file, but not one to be read as statistics.
    bool isDamaged() const { return m_isDamaged; }

    /// The texts that `days` and `history` point to live as long as this object.
    std::string_view keep(std::string text);

    StatisticsFile(StatisticsFile&&) noexcept;
    StatisticsFile& operator=(StatisticsFile&&) noexcept;
    ~StatisticsFile();

    std::int64_t totalWords = 0;
    std::int64_t totalSessions = 0;
    double totalDuration = 0; // seconds
    std::vector<Day> days;
    std::vector<std::string_view> history; // the text of each entry, oldest first
    std::set<std::string> deleted;         // keys of entries that the service of the account may still tell of

private:
    struct Member {
        std::string key;
        std::string_view text;
    };

    StatisticsFile();
    bool takeApart();
    std::string compose() const;

    std::unique_ptr<simdjson::padded_string> m_text;
    std::deque<std::string> m_kept;
    std::vector<Member> m_unknown;
    bool m_isDamaged = false;
};

/// Numbers from a file or a server; any other value counts as 0.
std::int64_t toCount(const nlohmann::json& value);
double toNumber(const nlohmann::json& value);
/// JSON null when there is none.
const nlohmann::json& memberOf(const nlohmann::json& object, const char* key);

} // namespace fenlo
