#pragma once

#include "base/Guarded.h"
#include "shell/Statistics.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace fenlo {

class Clock;
class StatisticsFile;

/// Of an entry in the file: true where its words stay on this machine.
inline constexpr char staysHereMember[] = "stays_here";

/// Everything that the user dictated, and the counters, in `~/.fenlo/stats.json`. Every call reads the file again, and
/// a change replaces it.
///
/// Threads: any. Changes come one after the other; a reader never waits for long, and finds the file as it is before or
/// after a
///          change. A change and reading the history cost a pass over the whole file, reading the counters far less.
/// Errors:  none. A session that cannot be written is logged, and written with the next one; a damaged file counts as
///          empty and is set aside before it is replaced.
class StatisticsStore {
public:
    StatisticsStore(std::filesystem::path file, const Clock& clock);

    /// `duration` in seconds. An empty text counts as a session without words. An entry whose words stay here carries
    /// the mark staysHereMember.
    void recordDictation(const std::string& text, double duration, SpokenWords words = SpokenWords::mayLeave);
    /// Adds one entry for the whole meeting; only its numbers are kept.
    void recordMeeting(const std::string& transcript, std::int64_t segments, double duration);

    // From the file.
    TodayStats todayStats() const;
    AllTimeStats allTimeStats() const;
    std::vector<HistoryEntry> historyEntries() const; // newest first

    /// The history as a person looks at it, newest first: with what could not be written yet, and with the entries of
    /// the user's other machines that the server tells of.
    struct Past {
        std::vector<HistoryEntry> entries;
        bool isReadable = true; // false: there is a file, but it cannot be read as a history
    };
    Past past() const;
    /// From the file and what could not be written yet.
    Activity activity() const;

    // Changes that the user makes to the history. They take words away, never what was counted: totals and days stay.
    // All or nothing: a change that cannot be written leaves the file and what is in memory.

    /// An entry that was taken out, to be put back.
    struct RemovedEntry {
        std::string text;      // its JSON text; empty of another machine's
        std::size_t place = 0; // in the history, oldest first
        std::string key = {};  // by which the server's entry is left out
    };
    struct Removal {
        std::string fault;                 // for a person, such as "the disk is full"; empty when the entry is gone
        std::optional<RemovedEntry> entry; // none when it was gone already
    };
    Removal removeEntry(const HistoryEntry& entry);
    /// The fault; empty when it is back.
    std::string restoreEntry(const RemovedEntry& entry);
    /// The fault; empty when no entry is left.
    std::string removeAllEntries();

    // What to show: the server's numbers, and what was dictated here since they came; without any, the file's.
    TodayStats shownTodayStats() const;
    AllTimeStats shownAllTimeStats() const;

    /// The entries that the backend has not accepted yet, as the file has them, oldest first. Old entries without an id
    /// get one now.
    std::vector<nlohmann::json> unsyncedEntries();
    void markSynced(const std::set<std::string>& entryIds);
    /// From now on the numbers of the backend's reply are shown. The file stays as it is. Only a JSON object counts.
    void applyServerStats(const nlohmann::json& reply);
    /// The file's numbers are shown again, whatever the backend replies, until followServer().
    void forgetServerStats();
    void followServer();
    /// The history of the server view; nothing before the first applyServerStats().
    std::optional<std::vector<HistoryEntry>> serverHistory() const;
    bool hasServerView() const;

    /// The entries that a question about the past may mean, the newest `limit` of them, as a text for a language model;
    /// nothing when there are none.
    std::optional<std::string> recallContext(const std::string& query, std::size_t limit) const;

    /// `~/.fenlo/stats.json`.
    static std::filesystem::path defaultFile();

private:
    struct Session {
        std::string entryId;
        std::string text;
        std::int64_t words;
        double duration;  // seconds
        const char* type; // null for a dictation
        SpokenWords spoken;
        std::chrono::system_clock::time_point end;
    };
    struct ServerView {
        AllTimeStats allTime;
        std::string day; // to which `today` belongs
        std::optional<TodayStats> today;
        std::vector<HistoryEntry> history; // newest first
        AllTimeStats ownAllTime;           // the file's numbers when this came, as the next
        TodayStats ownToday;
    };

    void record(Session session);
    std::string save(const StatisticsFile& file);
    StatisticsFile loadForChange() const; // with the lock held
    StatisticsFile loadToShow() const;
    void addUnwritten(StatisticsFile& file) const;
    /// Those of the server view that the file neither has nor had.
    std::vector<HistoryEntry> entriesElsewhere(const std::vector<HistoryEntry>& own, const StatisticsFile& file) const;
    bool isToldBack(const HistoryEntry& entry) const;
    static void add(const Session& session, StatisticsFile& file);

    const std::filesystem::path m_file;
    const Clock& m_clock;
    mutable std::mutex m_writing;     // orders those who change the file
    std::vector<Session> m_unwritten; // oldest first; none while the disk takes them
    Guarded<std::optional<ServerView>> m_serverView;
    bool m_followsServer = true; // under the lock of the view
};

} // namespace fenlo
