#include "shell/HistoryRecall.h"

#include "base/Text.h"

namespace fenlo {

namespace {

using dates::Moment;

constexpr std::string_view emptyAnswer = "no matching entries found"; // which a model gave to an earlier question
constexpr std::int64_t fewestWords = 3;

struct Period {
    std::string_view phrase;
    Moment (*start)(Moment now);
};

Moment aWeekAgo(Moment now) {
    return dates::daysBefore(now, 7);
}

Moment aMonthAgo(Moment now) {
    return dates::monthsBefore(now, 1);
}

/// The first phrase that the query contains decides. It sets the start only: "yesterday" includes today's entries.
constexpr Period periods[] = {
    {"today", [](Moment now) { return dates::startOfDay(now); }},
    {"yesterday", [](Moment now) { return dates::startOfDay(now, 1); }},
    {"last week", aWeekAgo},
    {"this week", aWeekAgo},
    {"last month", aMonthAgo},
    {"this month", aMonthAgo},
};

std::optional<Moment> startOf(std::string_view query, Moment now) {
    const std::string lower = text::lower(query);
    for (const Period& period : periods)
        if (lower.find(period.phrase) != std::string::npos)
            return period.start(now);
    return {};
}

bool isEligible(const HistoryEntry& entry, std::optional<Moment> start) {
    if (entry.words < fewestWords)
        return false;
    if (start)
        if (const auto moment = dates::parseIso(entry.ts); moment && *moment < *start)
            return false;
    return text::lower(entry.fullText).find(emptyAnswer) == std::string::npos;
}

std::string shownDate(const std::string& ts) {
    const auto moment = dates::parseIso(ts);
    return moment ? dates::mediumText(*moment) : ts;
}

} // namespace

std::optional<std::string> recallText(const std::vector<HistoryEntry>& history, std::string_view query,
                                      std::size_t limit, Moment now) {
    const auto start = startOf(query, now);
    std::size_t count = 0;
    std::string entries;
    for (const HistoryEntry& entry : history) {
        if (count == limit)
            break;
        if (!isEligible(entry, start))
            continue;
        ++count;
        entries += "[" + std::to_string(count) + "] " + shownDate(entry.ts) + ":\n" + entry.fullText + "\n\n";
    }
    if (count == 0)
        return {};
    return "Here are the user's " + std::to_string(count) + " most recent dictation entries:\n\n" + entries;
}

} // namespace fenlo
