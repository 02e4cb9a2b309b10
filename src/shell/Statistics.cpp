#include "shell/Statistics.h"

#include "base/Text.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr double typedWordsPerMinute = 40.0;
constexpr double minutesPerHour = 60;
constexpr double minutesPerDay = 1440;

double savedMinutes(std::int64_t words, double seconds) {
    return static_cast<double>(words) / typedWordsPerMinute - seconds / 60.0;
}

std::string minutesText(double minutes) {
    if (minutes < 1)
        return "0 min";
    if (minutes >= minutesPerHour)
        return text::fixed(minutes / minutesPerHour, 1) + " hrs";
    return std::to_string(static_cast<std::int64_t>(minutes)) + " min";
}

} // namespace

std::string keyOf(const HistoryEntry& entry) {
    return entry.entryId.empty() ? entry.ts + '\n' + entry.textPreview : entry.entryId;
}

bool isSameEntry(const HistoryEntry& one, const HistoryEntry& other) {
    return one.entryId == other.entryId && one.ts == other.ts && one.fullText == other.fullText;
}

std::int64_t wordCount(const std::string& text) {
    const auto pieces = text::split(text::trimWhitespace(text), ' ');
    return std::ranges::count_if(pieces, [](const std::string& piece) { return !piece.empty(); });
}

std::int64_t averageWPM(std::int64_t words, double seconds) {
    constexpr double limit = 1e15; // keeps damaged counters within the range of the result
    if (!(seconds > 0))
        return 0;
    return static_cast<std::int64_t>(std::clamp(static_cast<double>(words) / seconds * 60.0, -limit, limit));
}

std::string savedTimeText(std::int64_t words, double seconds) {
    return minutesText(savedMinutes(words, seconds));
}

std::string allTimeSavedTimeText(std::int64_t words, double seconds) {
    const double minutes = savedMinutes(words, seconds);
    return minutes >= minutesPerDay ? text::fixed(minutes / minutesPerDay, 1) + " days" : minutesText(minutes);
}

} // namespace fenlo
