#include "shell/StatisticsStore.h"

#include "base/Clock.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Json.h"
#include "base/Log.h"
#include "base/Text.h"
#include "base/WriteFault.h"
#include "shell/HistoryReader.h"
#include "shell/HistoryRecall.h"
#include "shell/StatisticsFile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace fenlo {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

namespace {

constexpr std::size_t previewCharacters = 80;

/// The value as the file has entries and days: two levels deep, two blanks for each.
template <typename SomeJson>
std::string indented(const SomeJson& object) {
    return text::replaceAll(writeJson(object, 2), "\n", "\n    ");
}

/// Stays at the largest number instead of starting over.
std::int64_t sum(std::int64_t count, std::int64_t added) {
    std::int64_t result = 0;
    return __builtin_add_overflow(count, added, &result) ? std::numeric_limits<std::int64_t>::max() : result;
}

double rounded(double value, int decimals) {
    const double scale = std::pow(10, decimals);
    const double result = std::round(value * scale) / scale;
    return std::isfinite(result) ? result : 0;
}

/// With the members in the order of the file.
OrderedJson parseObject(std::string_view text) {
    OrderedJson value = parseOrderedJson(text);
    return value.is_object() ? value : OrderedJson::object();
}

StatisticsFile::Day& dayOf(StatisticsFile& file, const std::string& date) {
    const auto found = std::ranges::find(file.days, date, &StatisticsFile::Day::date);
    return found != file.days.end() ? *found : file.days.emplace_back(StatisticsFile::Day{date, "{}"});
}

TodayStats todayStatsOf(const Json& day) {
    TodayStats stats{toCount(memberOf(day, "words")), toCount(memberOf(day, "sessions")),
                     toNumber(memberOf(day, "duration")), 0};
    stats.avgWPM = averageWPM(stats.words, stats.duration);
    return stats;
}

AllTimeStats allTimeStatsOf(std::int64_t words, std::int64_t sessions, double seconds, std::int64_t daysActive) {
    return {words, sessions, seconds / 60.0, averageWPM(words, seconds), daysActive};
}

/// Newest first; values that are no entries are skipped.
template <typename Texts>
std::vector<HistoryEntry> readNewestFirst(const Texts& oldestFirst) {
    HistoryReader reader;
    std::vector<HistoryEntry> entries;
    for (auto text = oldestFirst.rbegin(); text != oldestFirst.rend(); ++text)
        if (auto entry = reader.readEntry(*text))
            entries.push_back(std::move(*entry));
    return entries;
}

std::chrono::system_clock::time_point momentOf(const HistoryEntry& entry) {
    return dates::parseIso(entry.ts).value_or(std::chrono::system_clock::time_point());
}

/// Both newest first, as the result.
std::vector<HistoryEntry> merged(std::vector<HistoryEntry> own, std::vector<HistoryEntry> others) {
    if (others.empty())
        return own;
    const auto isNewer = [](const HistoryEntry& one, const HistoryEntry& other) {
        return momentOf(one) > momentOf(other);
    };
    std::ranges::stable_sort(others, isNewer);
    std::vector<HistoryEntry> all;
    all.reserve(own.size() + others.size());
    std::ranges::merge(std::make_move_iterator(own.begin()), std::make_move_iterator(own.end()),
                       std::make_move_iterator(others.begin()), std::make_move_iterator(others.end()),
                       std::back_inserter(all), isNewer);
    return all;
}

/// What was counted since, of counters that only grow.
template <typename Number>
Number since(Number now, Number then) {
    return std::max(Number(0), now - then);
}

} // namespace

std::filesystem::path StatisticsStore::defaultFile() {
    return files::dataDirectory() / "stats.json";
}

StatisticsStore::StatisticsStore(std::filesystem::path file, const Clock& clock)
    : m_file(std::move(file)), m_clock(clock) {}

void StatisticsStore::recordDictation(const std::string& text, double duration, SpokenWords words) {
    const std::string repaired = text::repairUtf8(text);
    record({files::makeUuid(), repaired, wordCount(repaired), duration, nullptr, words, {}});
}

void StatisticsStore::recordMeeting(const std::string& transcript, std::int64_t segments, double duration) {
    const std::int64_t words = wordCount(transcript);
    record({files::makeUuid(),
            "Meeting " + std::to_string(segments) + " segments, " + std::to_string(words) + " words",
            words,
            duration,
            "meeting",
            SpokenWords::mayLeave, // the text holds numbers only
            {}});
}

void StatisticsStore::record(Session session) {
    session.end = m_clock.wallTime();
    if (!std::isfinite(session.duration) || session.duration < 0)
        session.duration = 0;
    std::lock_guard writing(m_writing);
    m_unwritten.push_back(std::move(session));
    const StatisticsFile file = loadForChange();
    if (const std::string fault = save(file); !fault.empty())
        logError("{} cannot be written; free some space: what was dictated is stored there with the next dictation",
                 m_file.string());
}

StatisticsFile StatisticsStore::loadForChange() const {
    StatisticsFile file = StatisticsFile::load(m_file);
    addUnwritten(file);
    return file;
}

void StatisticsStore::addUnwritten(StatisticsFile& file) const {
    for (const Session& unwritten : m_unwritten)
        add(unwritten, file);
}

/// Of a file that has what was unwritten. The fault; empty when it is stored.
std::string StatisticsStore::save(const StatisticsFile& file) {
    errno = 0;
    if (!file.save(m_file, m_clock.wallTime()))
        return files::writeFault(errno == 0 ? EACCES : errno);
    m_unwritten.clear();
    return {};
}

void StatisticsStore::add(const Session& session, StatisticsFile& file) {
    const double wpm = session.duration > 0 ? static_cast<double>(session.words) / session.duration * 60.0 : 0;
    OrderedJson entry = {{"entry_id", session.entryId},
                         {"ts", dates::isoTimestamp(session.end)},
                         {"words", session.words},
                         {"wpm", rounded(wpm, 1)},
                         {"duration", rounded(session.duration, 2)},
                         {"text_preview", text::firstCharacters(session.text, previewCharacters)},
                         {"full_text", session.text},
                         {"synced", false}};
    if (session.type)
        entry["type"] = session.type;
    if (session.spoken == SpokenWords::stayHere)
        entry[staysHereMember] = true;

    file.totalWords = sum(file.totalWords, session.words);
    file.totalSessions = sum(file.totalSessions, 1);
    file.totalDuration += session.duration;

    StatisticsFile::Day& today = dayOf(file, dates::localDay(session.end));
    const TodayStats before = todayStatsOf(parseJson(today.text));
    auto day = parseObject(today.text);
    day["words"] = sum(before.words, session.words);
    day["sessions"] = sum(before.sessions, 1);
    day["duration"] = before.duration + session.duration;
    today.text = file.keep(indented(day));

    file.history.push_back(file.keep(indented(entry)));
}

TodayStats StatisticsStore::todayStats() const {
    StatisticsFile file = StatisticsFile::loadCounters(m_file);
    return todayStatsOf(parseJson(dayOf(file, dates::localDay(m_clock.wallTime())).text));
}

AllTimeStats StatisticsStore::allTimeStats() const {
    const StatisticsFile file = StatisticsFile::loadCounters(m_file);
    return allTimeStatsOf(file.totalWords, file.totalSessions, file.totalDuration,
                          static_cast<std::int64_t>(file.days.size()));
}

std::vector<HistoryEntry> StatisticsStore::historyEntries() const {
    return readNewestFirst(StatisticsFile::load(m_file).history);
}

/// Without the lock while the file is read, because the main thread records under it. A session that is written just
/// then may be missing; whoever shows the history looks again after each change.
StatisticsFile StatisticsStore::loadToShow() const {
    StatisticsFile file = StatisticsFile::load(m_file);
    std::lock_guard writing(m_writing);
    addUnwritten(file);
    return file;
}

StatisticsStore::Past StatisticsStore::past() const {
    const StatisticsFile file = loadToShow();
    std::vector<HistoryEntry> own = readNewestFirst(file.history);
    std::vector<HistoryEntry> others = entriesElsewhere(own, file);
    return {merged(std::move(own), std::move(others)), !file.isDamaged()};
}

std::vector<HistoryEntry> StatisticsStore::entriesElsewhere(const std::vector<HistoryEntry>& own,
                                                            const StatisticsFile& file) const {
    std::optional<std::vector<HistoryEntry>> history = serverHistory();
    if (!history)
        return {};
    std::set<std::string> known = file.deleted;
    for (const HistoryEntry& entry : own)
        known.insert(keyOf(entry));
    std::erase_if(*history, [&](const HistoryEntry& entry) { return !known.insert(keyOf(entry)).second; });
    return std::move(*history);
}

/// Whether the server tells of an entry that the file may not have.
bool StatisticsStore::isToldBack(const HistoryEntry& entry) const {
    return m_serverView.with([&](const std::optional<ServerView>& view) {
        return view && std::ranges::any_of(view->history, [key = keyOf(entry)](const HistoryEntry& told) {
                   return keyOf(told) == key;
               });
    });
}

Activity StatisticsStore::activity() const {
    const StatisticsFile file = loadToShow();
    Activity activity;
    for (const StatisticsFile::Day& day : file.days)
        activity.wordsByDay[day.date] = todayStatsOf(parseJson(day.text)).words;
    HistoryReader reader;
    for (const std::string_view text : file.history) {
        const auto entry = reader.readEntry(text);
        if (const auto moment = entry ? dates::parseIso(entry->ts) : std::nullopt) {
            std::int64_t& words = activity.wordsByHour.at(static_cast<std::size_t>(dates::localHour(*moment)));
            words = sum(words, entry->words);
        }
    }
    return activity;
}

StatisticsStore::Removal StatisticsStore::removeEntry(const HistoryEntry& entry) {
    std::lock_guard writing(m_writing);
    StatisticsFile file = loadForChange();
    HistoryReader reader;
    const auto isIt = [&](std::string_view text) {
        const auto found = reader.readEntry(text);
        return found && isSameEntry(*found, entry);
    };
    // Newest first, since those are the ones that people look at.
    const auto found = std::find_if(file.history.rbegin(), file.history.rend(), isIt);
    RemovedEntry removed{{}, file.history.size(), keyOf(entry)};
    const bool isHere = found != file.history.rend();
    if (isHere) {
        const auto place = std::prev(found.base());
        removed.text = *place;
        removed.place = static_cast<std::size_t>(place - file.history.begin());
        file.history.erase(place);
    } else if (!isToldBack(entry)) {
        return {};
    }
    const auto state = isHere ? reader.readSyncState(removed.text) : std::nullopt;
    if (hasServerView() || (state && state->isSynced))
        file.deleted.insert(removed.key);
    const std::string fault = save(file);
    return fault.empty() ? Removal{{}, removed} : Removal{fault, {}};
}

std::string StatisticsStore::restoreEntry(const RemovedEntry& entry) {
    std::lock_guard writing(m_writing);
    StatisticsFile file = loadForChange();
    file.deleted.erase(entry.key);
    if (!entry.text.empty()) {
        const std::size_t place = std::min(entry.place, file.history.size());
        file.history.insert(file.history.begin() + static_cast<std::ptrdiff_t>(place), file.keep(entry.text));
    }
    return save(file);
}

std::string StatisticsStore::removeAllEntries() {
    std::lock_guard writing(m_writing);
    StatisticsFile file = loadForChange();
    const std::vector<HistoryEntry> told = serverHistory().value_or(std::vector<HistoryEntry>());
    if (file.history.empty() && told.empty())
        return {};
    HistoryReader reader;
    for (const std::string_view text : file.history)
        if (const auto state = reader.readSyncState(text); state && state->entryId && state->isSynced)
            file.deleted.insert(*state->entryId);
    for (const HistoryEntry& entry : told)
        file.deleted.insert(keyOf(entry));
    file.history.clear();
    return save(file);
}

TodayStats StatisticsStore::shownTodayStats() const {
    const TodayStats own = todayStats();
    const std::string day = dates::localDay(m_clock.wallTime());
    return m_serverView.with([&](const std::optional<ServerView>& view) {
        if (!view || view->day != day || !view->today)
            return own;
        TodayStats shown = *view->today;
        shown.words = sum(shown.words, since(own.words, view->ownToday.words));
        shown.sessions = sum(shown.sessions, since(own.sessions, view->ownToday.sessions));
        shown.duration += since(own.duration, view->ownToday.duration);
        shown.avgWPM = averageWPM(shown.words, shown.duration);
        return shown;
    });
}

AllTimeStats StatisticsStore::shownAllTimeStats() const {
    const AllTimeStats own = allTimeStats();
    return m_serverView.with([&](const std::optional<ServerView>& view) {
        if (!view)
            return own;
        const AllTimeStats& told = view->allTime;
        const AllTimeStats& then = view->ownAllTime;
        return allTimeStatsOf(sum(told.totalWords, since(own.totalWords, then.totalWords)),
                              sum(told.totalSessions, since(own.totalSessions, then.totalSessions)),
                              (told.totalMinutes + since(own.totalMinutes, then.totalMinutes)) * 60.0,
                              sum(told.daysActive, since(own.daysActive, then.daysActive)));
    });
}

std::vector<Json> StatisticsStore::unsyncedEntries() {
    std::lock_guard writing(m_writing);
    StatisticsFile file = StatisticsFile::load(m_file);
    HistoryReader reader;
    std::vector<Json> unsynced;
    bool changed = false;
    for (std::string_view& text : file.history) {
        const auto state = reader.readSyncState(text);
        if (!state || (state->entryId && state->isSynced))
            continue;
        if (!state->entryId) {
            auto entry = parseObject(text);
            entry["entry_id"] = files::makeUuid();
            entry["synced"] = false;
            text = file.keep(indented(entry));
            changed = true;
        }
        unsynced.push_back(parseJson(text));
    }
    // Ids that could not be stored would be different the next time, and the backend would count the entries twice.
    if (changed && !file.save(m_file, m_clock.wallTime()))
        return {};
    return unsynced;
}

void StatisticsStore::markSynced(const std::set<std::string>& entryIds) {
    std::lock_guard writing(m_writing);
    StatisticsFile file = StatisticsFile::load(m_file);
    HistoryReader reader;
    bool changed = false;
    for (std::string_view& text : file.history) {
        const auto state = reader.readSyncState(text);
        if (!state || state->isSynced || !state->entryId || !entryIds.contains(*state->entryId))
            continue;
        auto entry = parseObject(text);
        entry["synced"] = true;
        text = file.keep(indented(entry));
        changed = true;
    }
    if (changed)
        file.save(m_file, m_clock.wallTime());
}

void StatisticsStore::applyServerStats(const Json& reply) {
    if (!reply.is_object())
        return;
    ServerView view;
    view.allTime =
        allTimeStatsOf(toCount(memberOf(reply, "total_words")), toCount(memberOf(reply, "total_sessions")),
                       toNumber(memberOf(reply, "total_duration_secs")), toCount(memberOf(reply, "days_active")));
    view.day = dates::localDay(m_clock.wallTime());
    if (const Json& day = memberOf(memberOf(reply, "daily"), view.day.c_str()); day.is_object())
        view.today = todayStatsOf(day);
    std::vector<std::string> history;
    if (const Json& entries = memberOf(reply, "history"); entries.is_array())
        for (const Json& entry : entries)
            history.push_back(writeJson(entry));
    view.history = readNewestFirst(history);
    view.ownAllTime = allTimeStats();
    view.ownToday = todayStats();
    m_serverView.with([&](std::optional<ServerView>& current) {
        if (m_followsServer)
            current = std::move(view);
    });
}

void StatisticsStore::forgetServerStats() {
    m_serverView.with([&](std::optional<ServerView>& view) {
        m_followsServer = false;
        view.reset();
    });
}

void StatisticsStore::followServer() {
    m_serverView.with([&](const std::optional<ServerView>&) { m_followsServer = true; });
}

std::optional<std::vector<HistoryEntry>> StatisticsStore::serverHistory() const {
    return m_serverView.with(
        [](const std::optional<ServerView>& view) { return view ? std::optional(view->history) : std::nullopt; });
}

bool StatisticsStore::hasServerView() const {
    return m_serverView.with([](const std::optional<ServerView>& view) { return view.has_value(); });
}

std::optional<std::string> StatisticsStore::recallContext(const std::string& query, std::size_t limit) const {
    return recallText(historyEntries(), query, limit, m_clock.wallTime());
}

} // namespace fenlo
