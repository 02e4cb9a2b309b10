#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace fenlo {

struct TodayStats {
    std::int64_t words = 0;
    std::int64_t sessions = 0;
    double duration = 0; // seconds
    std::int64_t avgWPM = 0;
};

struct AllTimeStats {
    std::int64_t totalWords = 0;
    std::int64_t totalSessions = 0;
    double totalMinutes = 0;
    std::int64_t avgWPM = 0;
    std::int64_t daysActive = 0;
};

/// One past dictation or meeting.
struct HistoryEntry {
    std::string id;      // made when the entry is read
    std::string entryId; // the one in the file, which stays; empty with entries of old
    std::string ts;      // ISO 8601
    std::int64_t words = 0;
    double wpm = 0;      // words per minute
    double duration = 0; // seconds
    std::string textPreview;
    std::string fullText;
};

/// Tells the entry from all others: its id, or what an entry of old has in its place.
std::string keyOf(const HistoryEntry& entry);

/// Whether both were read from the same entry of the file, as far as that can be told without an id in it.
bool isSameEntry(const HistoryEntry& one, const HistoryEntry& other);

/// Whether what was said may be told to the service of the account, or stays on this machine.
enum class SpokenWords { mayLeave, stayHere };

/// When somebody dictates.
struct Activity {
    std::map<std::string, std::int64_t> wordsByDay; // by local date, "2026-11-15"; days without any have no place
    std::array<std::int64_t, 24> wordsByHour{};     // of the local day, of all that is still in the history
};

/// The number of pieces between blanks, of the text without the whitespace around it.
std::int64_t wordCount(const std::string& text);

/// Words per minute, truncated; 0 when there were no seconds.
std::int64_t averageWPM(std::int64_t words, double seconds);

/// The time that dictating saved over typing 40 words a minute: "7 min", "1.5 hrs".
std::string savedTimeText(std::int64_t words, double seconds);
/// The same, with days for large numbers.
std::string allTimeSavedTimeText(std::int64_t words, double seconds);

} // namespace fenlo
