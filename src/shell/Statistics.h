#pragma once

#include <cstdint>
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

/// The time that dictating saved over typing 40 words a minute: "7 min", "1.5 hrs".
std::string savedTimeText(std::int64_t words, double seconds);
/// The same, going on to days.
std::string allTimeSavedTimeText(std::int64_t words, double seconds);

} // namespace fenlo
