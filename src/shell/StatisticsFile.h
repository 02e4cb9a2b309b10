#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace simdjson {
struct padded_string;
}

namespace fenlo {

/// The statistics file, taken apart just far enough: what a change leaves alone keeps its text and is written again as
/// it stood, unknown keys included. So a change costs a check and a copy of the file, and no reading of every entry.
///
/// Threads: a value, for one thread at a time.
/// Errors:  a file that cannot be read, or is no JSON object, is a new one; save() sets it aside then.
class StatisticsFile {
public:
    struct Day {
        std::string date;      // "2026-11-15"
        std::string_view text; // of its object
    };

    static StatisticsFile load(const std::filesystem::path& path);

    /// The same without the history, which is not even read where save() wrote the file. Not for saving.
    static StatisticsFile loadCounters(const std::filesystem::path& path);

    /// Replaces the file whole, for its owner only. False when that fails; the old file is still there then.
    bool save(const std::filesystem::path& path, std::chrono::system_clock::time_point now) const;

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

/// Numbers of a file or a server: whatever is none counts as 0.
std::int64_t toCount(const nlohmann::json& value);
double toNumber(const nlohmann::json& value);
/// Null when there is none.
const nlohmann::json& memberOf(const nlohmann::json& object, const char* key);

} // namespace fenlo
