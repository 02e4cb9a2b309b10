#include "shell/StatisticsStore.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "support/EnvironmentVariable.h"
#include "support/LogCapture.h"
#include "support/ScarceDisk.h"
#include "support/VirtualTime.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <thread>

using namespace fenlo;
using nlohmann::json;
namespace fs = std::filesystem;

namespace {

class Statistics : public ::testing::Test {
protected:
    ~Statistics() override { fs::remove_all(file.parent_path()); }

    void write(std::string_view content) {
        fs::remove_all(file.parent_path());
        fs::create_directories(file.parent_path());
        ASSERT_TRUE(files::writeAtomically(file, content));
    }
    std::string content() const { return files::read(file).value_or(""); }
    json onDisk() const { return parseJson(content()); }
    void goTo(const char* timestamp) {
        const auto distance = dates::parseIso(timestamp).value() - clock.wallTime();
        clock.advance(std::chrono::duration<double>(distance).count() + 0.001);
    }

    const test::EnvironmentVariable zone{"TZ", "Asia/Kolkata"};
    const test::EnvironmentVariable locale{"LC_ALL", "C"};
    test::VirtualClock clock;
    const fs::path file = fs::temp_directory_path() / files::makeUuid() / ".fenlo" / "stats.json";
    StatisticsStore store{file, clock};
};

json entry(const char* ts, const char* text, int words = 3) {
    return {{"ts", ts}, {"full_text", text}, {"words", words}};
}

} // namespace

TEST_F(Statistics, RecordsStandInTheFileAsAPersonWouldReadThem) {
    goTo("2026-11-14T19:00:00Z"); // half past midnight in this zone
    std::string text = "नमस्ते";
    for (int i = 0; i < 90; ++i)
        text += i % 2 ? " 👩‍👩‍👧" : "東";
    store.recordDictation(text + "\xFF", 7.126);
    store.recordMeeting("[0:05] Ann: hello there\n\n[0:09] Bob: hi", 2, 60);

    const auto values = parseOrderedJson(content());
    const auto& first = values["history"][0];
    const std::string id = first["entry_id"];
    EXPECT_EQ(id.size(), 36u);
    EXPECT_EQ(content(), R"({
  "total_words": 52,
  "total_sessions": 2,
  "total_duration_secs": 67.126,
  "daily": {
    "2026-11-15": {
      "words": 52,
      "sessions": 2,
      "duration": 67.126
    }
  },
  "history": [
    {
      "entry_id": ")" + id + R"(",
      "ts": "2026-11-14T19:00:00Z",
      "words": 46,
      "wpm": 387.3,
      "duration": 7.13,
      "text_preview": ")" + text::firstCharacters(text, 80) +
                             R"(",
      "full_text": ")" + text +
                             "\uFFFD" + R"(",
      "synced": false
    },
    {
      "entry_id": ")" + values["history"][1]["entry_id"].get<std::string>() +
                             R"(",
      "ts": "2026-11-14T19:00:00Z",
      "words": 6,
      "wpm": 6.0,
      "duration": 60.0,
      "text_preview": "Meeting 2 segments, 6 words",
      "full_text": "Meeting 2 segments, 6 words",
      "synced": false,
      "type": "meeting"
    }
  ]
}
)");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(file.parent_path()).permissions(), fs::perms::owner_all);

    const auto entries = store.historyEntries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].textPreview, "Meeting 2 segments, 6 words") << "newest first";
    EXPECT_EQ(entries[1].fullText, text + "\uFFFD");
    EXPECT_EQ(entries[1].wpm, 387.3);
    EXPECT_NE(entries[1].id, id);
}

TEST_F(Statistics, InvalidDurationsCountAsZero) {
    constexpr auto infinity = std::numeric_limits<double>::infinity();
    for (const double duration : {0.0, -5.0, std::nan(""), infinity, -infinity, 1e-310, 2.0})
        store.recordDictation("a b c", duration);
    store.recordDictation("", 0);
    const AllTimeStats stats = store.allTimeStats();
    EXPECT_EQ(stats.totalSessions, 8);
    EXPECT_EQ(stats.totalWords, 21);
    EXPECT_DOUBLE_EQ(stats.totalMinutes * 60, 2);
    for (const auto& past : store.historyEntries())
        EXPECT_EQ(past.wpm, past.duration > 0 ? 90 : 0);
    const json written = onDisk();
    for (const json& stored : written["history"])
        EXPECT_TRUE(stored["wpm"].is_number() && stored["duration"].is_number()) << stored;
}

TEST_F(Statistics, CountByTheLocalDay) {
    goTo("2026-11-14T18:29:58Z"); // two seconds before midnight
    store.recordDictation("one two", 1);
    EXPECT_EQ(store.todayStats().words, 2);
    clock.advance(2);
    EXPECT_EQ(store.todayStats().words, 0);
    store.recordDictation("over midnight it counts", 3);
    const TodayStats today = store.todayStats();
    EXPECT_EQ(today.words, 4);
    EXPECT_EQ(today.sessions, 1);
    EXPECT_EQ(today.avgWPM, 80);
    const AllTimeStats all = store.allTimeStats();
    EXPECT_EQ(all.daysActive, 2);
    EXPECT_EQ(all.avgWPM, 90);
}

TEST_F(Statistics, WhatTheUserKeepsInTheFileSurvivesEveryChange) {
    const json before = parseJson(R"({"note": {"mine": [1.5, "ä\n"]}, "history": [
        {"entry_id": "A", "ts": "2020-01-01T00:00:00Z", "stars": 5, "synced": false, "full_text": "brackets ]}{[ \"\\ "},
        17, {"ts": "2020-01-02T00:00:00Z", "synced": true, "mood": null}, {"entry_id": 7, "words": 2}],
        "daily": {"2023-11-15": {"words": 1, "weather": "rain"}}, "total_words": 1, "zeta": []})");
    std::string byHand = text::replaceAll(writeJson(before, 8), "        ", "\t");
    byHand.insert(byHand.find('{') + 1, " \r\n\t\"pi\": 3.1400, ");
    for (const std::string& form : {writeJson(before), writeJson(before, 2), byHand}) {
        write(form);
        store.recordDictation("new words", 2);
        EXPECT_EQ(store.allTimeStats().totalWords, 3);
        const auto unsynced = store.unsyncedEntries();
        ASSERT_EQ(unsynced.size(), 4u);
        EXPECT_EQ(store.unsyncedEntries(), unsynced) << "ids are given once";
        store.markSynced({"A", unsynced[3]["entry_id"]});
        EXPECT_EQ(store.unsyncedEntries(), std::vector<json>(unsynced.begin() + 1, unsynced.begin() + 3));

        json after = onDisk();
        ASSERT_EQ(after["history"].size(), 5u);
        after["history"].erase(4);
        json expected = before;
        expected["total_words"] = 3;
        expected["total_sessions"] = 1;
        expected["total_duration_secs"] = 2.0;
        expected["daily"]["2023-11-15"].update(json{{"words", 3}, {"sessions", 1}, {"duration", 2.0}});
        expected["history"][0]["synced"] = true;
        for (const int index : {2, 3})
            expected["history"][index].update(
                json{{"synced", false}, {"entry_id", after["history"][index]["entry_id"]}});
        if (form == byHand) {
            EXPECT_NE(content().find("\"pi\": 3.1400,"), std::string::npos) << "not even written otherwise";
            after.erase("pi");
        }
        EXPECT_EQ(after, expected);
    }
}

TEST_F(Statistics, WrongTypesCountAsZero) {
    write(R"({"total_words": "many", "total_sessions": 18446744073709551615, "total_duration_secs": [],
        "daily": {"2023-11-15": {"words": 9223372036854775807, "sessions": true, "duration": 1e-300}, "x": 5},
        "history": [{"ts": 5, "full_text": "skipped"}, {"ts": "?", "words": 2.5, "wpm": "1", "text_preview": "short"},
                    {"ts": "", "words": 18446744073709551615, "full_text": null}, null, "text", []]})");
    EXPECT_EQ(store.todayStats().sessions, 0);
    EXPECT_GT(store.todayStats().avgWPM, 0) << "out of range, but a number";
    const AllTimeStats all = store.allTimeStats();
    EXPECT_EQ(all.totalWords, 0);
    EXPECT_EQ(all.totalSessions, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(all.totalMinutes, 0);
    EXPECT_EQ(all.daysActive, 2);
    const auto entries = store.historyEntries();
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].words, 0);
    EXPECT_EQ(entries[1].words, 0);
    EXPECT_EQ(entries[1].fullText, "short") << "the preview takes its place";

    store.recordDictation("one more", 1);
    EXPECT_EQ(store.allTimeStats().totalSessions, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(store.todayStats().words, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(store.todayStats().sessions, 1);
}

TEST_F(Statistics, DamagedFileCountsAsNewAndIsSetAsideBeforeItIsReplaced) {
    store.recordDictation("one two three", 1);
    store.recordDictation("four five six", 1);
    const std::string whole = content();
    std::vector<std::string> damages = {"",
                                        "null",
                                        "[1]",
                                        "{\"total_words\": 5} 6",
                                        R"({"total_words": 5, "history": {}})",
                                        R"({"total_words": 123456789012345678901234567890})",
                                        R"({"total_words": 5, "note": "\ud800"})",
                                        std::string("\0\0\0\0", 4),
                                        std::string(5000, '[')};
    for (const std::size_t length : {1u, 30u, 200u, static_cast<unsigned>(whole.size() - 3)})
        damages.push_back(whole.substr(0, length)); // cut off, as by a power failure
    damages.push_back(std::string(whole).replace(whole.find("\"words\": 3"), 10, "\"words\": \xFF"));
    for (const std::string& damaged : damages) {
        SCOPED_TRACE(damaged.substr(0, 60));
        write(damaged);
        EXPECT_TRUE(store.historyEntries().empty());
        EXPECT_TRUE(store.unsyncedEntries().empty());
        store.markSynced({"A"});
        EXPECT_EQ(content(), damaged) << "nothing is written yet";
        store.recordDictation("afresh", 1);
        EXPECT_EQ(store.historyEntries().size(), 1u);
        EXPECT_EQ(onDisk()["history"].size(), 1u);
        const bool isKept = std::ranges::any_of(fs::directory_iterator(file.parent_path()), [&](const auto& found) {
            return found.path() != file && files::read(found.path()) == damaged;
        });
        EXPECT_TRUE(isKept);
    }
    write(whole.substr(0, whole.size() - 3));
    EXPECT_EQ(store.todayStats().words, 0) << "the counters of an incomplete file do not count";
}

TEST_F(Statistics, AFailedWriteLeavesTheFileAndTheNextOneMakesUpForIt) {
    write(writeJson(json{{"history", {entry("2026-11-15T00:00:00Z", "kept")}}}));
    const std::string before = content();
    goTo("2026-11-14T19:00:00Z");
    {
        const test::ScarceDisk full(16);
        store.recordDictation("no place for this", 1);
        EXPECT_TRUE(store.unsyncedEntries().empty()) << "an id that cannot be stored is not given out";
    }
    EXPECT_EQ(content(), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(file.parent_path()), {}), 1) << "nothing is left behind";
    goTo("2026-11-15T19:00:00Z");
    store.recordDictation("the next", 1);
    store.recordDictation("and one more", 1);
    const json history = onDisk()["history"];
    ASSERT_EQ(history.size(), 4u);
    EXPECT_EQ(history[1]["full_text"], "no place for this");
    EXPECT_EQ(history[1]["ts"].get<std::string>().substr(0, 10), "2026-11-14") << "when it was said";
    EXPECT_EQ(history[3]["full_text"], "and one more");
    EXPECT_EQ(onDisk()["daily"]["2026-11-15"]["words"], 4);

    StatisticsStore nowhere(file / "no folder" / "stats.json", clock);
    const test::LogCapture logged;
    nowhere.recordDictation("swallowed", 1);
    EXPECT_TRUE(logged.containsPrefix("[Fenlo] ERROR: " + (file / "no folder" / "stats.json").string()));
    EXPECT_EQ(nowhere.allTimeStats().totalSessions, 0);
    EXPECT_EQ(nowhere.recallContext("what was that", 30), std::nullopt);
}

TEST_F(Statistics, AnEntryIsTakenOutAndPutBackByteForByte) {
    write(R"({"total_words": 9, "history": [
        {"entry_id": "A", "ts": "2020-01-01T00:00:00Z",  "stars": 5, "full_text": "first"}, 17,
        {"ts": "2020-01-02T00:00:00Z", "full_text": "of old"}, {"ts": "2020-01-02T00:00:00Z", "full_text": "of old"}]})");
    store.recordDictation("the last", 2);
    const std::string before = content();
    const json counted = onDisk();
    for (const std::size_t chosen : {0u, 1u, 2u, 3u}) {
        const auto entries = store.past().entries;
        ASSERT_EQ(entries.size(), 4u);
        const auto removal = store.removeEntry(entries[chosen]);
        EXPECT_EQ(removal.fault, "");
        ASSERT_TRUE(removal.entry.has_value());
        const auto left = store.past().entries;
        ASSERT_EQ(left.size(), 3u);
        for (const auto& entry : left)
            EXPECT_TRUE(entry.fullText != entries[chosen].fullText || entry.fullText == "of old");
        for (const char* counter : {"total_words", "total_sessions", "total_duration_secs", "daily"})
            EXPECT_EQ(onDisk()[counter], counted[counter]) << "what was counted stays";
        EXPECT_EQ(store.restoreEntry(*removal.entry), "");
        EXPECT_EQ(content(), before);
    }
    const auto gone = store.past().entries[3];
    store.removeEntry(gone);
    const auto again = store.removeEntry(gone);
    EXPECT_EQ(again.fault, "");
    EXPECT_FALSE(again.entry.has_value());

    EXPECT_EQ(store.removeAllEntries(), "");
    EXPECT_TRUE(onDisk()["history"].empty());
    EXPECT_EQ(store.allTimeStats().totalWords, 11);
    EXPECT_EQ(store.todayStats().words, 2);
}

TEST_F(Statistics, WhatIsNotWrittenYetIsShownAndTakenOutToo) {
    goTo("2026-11-14T19:10:00Z"); // forty minutes past midnight
    store.recordDictation("on the disk", 1);
    const std::string before = content();
    {
        const test::ScarceDisk full(16);
        store.recordDictation("only in memory", 1);
        store.recordDictation("this one too", 1);
        const auto entries = store.past().entries;
        ASSERT_EQ(entries.size(), 3u);
        EXPECT_EQ(entries[0].fullText, "this one too");
        EXPECT_EQ(entries[0].entryId, store.past().entries[0].entryId) << "the same at each look";
        EXPECT_EQ(store.activity().wordsByDay.at("2026-11-15"), 9);
        EXPECT_EQ(store.activity().wordsByHour[0], 9);

        for (const auto& entry : entries) {
            const auto removal = store.removeEntry(entry);
            EXPECT_NE(removal.fault, "");
            EXPECT_FALSE(removal.entry.has_value());
        }
        EXPECT_NE(store.removeAllEntries(), "");
        EXPECT_EQ(store.past().entries.size(), 3u) << "nothing is lost";
        EXPECT_EQ(content(), before);
    }
    EXPECT_EQ(store.removeEntry(store.past().entries[1]).fault, "");
    EXPECT_EQ(onDisk()["history"].size(), 2u);
    EXPECT_EQ(onDisk()["history"][1]["full_text"], "this one too");
    EXPECT_EQ(store.allTimeStats().totalWords, 9) << "counted, though its text is gone";
    EXPECT_EQ(store.past().entries.size(), 2u) << "not written twice";

    write("no history");
    EXPECT_FALSE(store.past().isReadable);
    EXPECT_EQ(store.removeAllEntries(), "");
    EXPECT_EQ(content(), "no history");
    fs::remove(file);
    EXPECT_TRUE(store.past().isReadable) << "nothing was dictated yet";
}

TEST_F(Statistics, ALongHistoryStaysCorrect) {
    constexpr int entries = 20000;
    json history = json::array();
    for (int i = 0; i < entries; ++i) {
        history.push_back(entry("2026-11-15T00:00:00Z", ("text \"" + std::to_string(i) + "\" 👍").c_str()));
        history.back().update({{"entry_id", std::to_string(i)}, {"synced", i % 2 == 0}});
    }
    write(writeJson(json{{"total_sessions", entries}, {"history", history}}, 2));
    store.recordDictation("the last", 1);
    store.markSynced({"1", "3"});
    EXPECT_EQ(store.allTimeStats().totalSessions, entries + 1);
    EXPECT_EQ(store.unsyncedEntries().size(), entries / 2u - 2 + 1);
    const auto read = store.historyEntries();
    ASSERT_EQ(read.size(), entries + 1u);
    EXPECT_EQ(read[0].fullText, "the last");
    EXPECT_EQ(read[entries].fullText, "text \"0\" 👍");
    json after = onDisk()["history"];
    after.erase(entries);
    history[1]["synced"] = history[3]["synced"] = true;
    EXPECT_TRUE(after == history);
}

TEST_F(Statistics, ServerViewIsShownWhereThereIsOne) {
    goTo("2026-11-15T10:00:00Z");
    store.recordDictation("four words of mine", 2);
    const std::string before = content();
    for (const char* useless : {"null", "[]", "\"ok\""})
        store.applyServerStats(parseJson(useless));
    EXPECT_EQ(store.shownAllTimeStats().totalWords, 4);
    EXPECT_EQ(store.serverHistory(), std::nullopt);

    store.applyServerStats(parseJson(R"({"total_words": 900, "total_sessions": 30, "total_duration_secs": 360,
        "days_active": 12, "daily": {"2026-11-15": {"words": 70, "sessions": 3, "duration": 60.0}},
        "history": [{"ts": "a", "full_text": "old"}, 5, {"ts": "b", "text_preview": "new"}, {"full_text": "no date"}]})"));
    const AllTimeStats all = store.shownAllTimeStats();
    EXPECT_EQ(all.totalWords, 900);
    EXPECT_EQ(all.totalMinutes, 6);
    EXPECT_EQ(all.avgWPM, 150);
    EXPECT_EQ(all.daysActive, 12);
    EXPECT_EQ(store.shownTodayStats().words, 70);
    EXPECT_EQ(store.shownTodayStats().avgWPM, 70);
    const auto history = store.serverHistory().value();
    ASSERT_EQ(history.size(), 2u);
    EXPECT_EQ(history[0].fullText, "new");
    EXPECT_EQ(store.allTimeStats().totalWords, 4) << "the file keeps its own";
    EXPECT_EQ(content(), before);

    goTo("2026-11-16T10:00:00Z");
    EXPECT_EQ(store.shownTodayStats().words, 0) << "the server's numbers were of another day";
    store.applyServerStats(parseJson(R"({"total_words": "1", "daily": [], "history": {}})"));
    EXPECT_EQ(store.shownAllTimeStats().totalWords, 0);
    EXPECT_TRUE(store.serverHistory()->empty());
}

TEST_F(Statistics, RecallOffersTheEntriesOfTheTimeInTheQuestion) {
    goTo("2026-03-31T10:00:00Z");
    write(writeJson(
        json{{"history",
              {entry("2026-02-27T10:00:00Z", "too old for a month"), entry("2026-02-28T10:00:00Z", "a month ago"),
               entry("2026-03-24T09:59:59Z", "over a week ago"), entry("2026-03-24T10:00:01.5Z", "a week ago"),
               entry("2026-03-29T18:29:59Z", "two days ago"), entry("2026-03-29T18:30:00Z", "yesterday at midnight"),
               entry("long ago", "an unreadable date"), entry("2026-03-30T18:30:00+00:00", "today at midnight"),
               entry("2026-03-31T09:00:00Z", "Sorry: No Matching Entries FOUND."),
               entry("2026-03-31T09:01:00Z", "two words", 2), entry("2026-03-31T09:02:00Z", "मीटिंग कल है")}}}));
    const std::pair<const char*, int> cases[] = {
        {"How much did I dictate TODAY", 3},  {"yesterday and today", 3},      {"that email from Yesterday", 4},
        {"what did i say last week", 6},      {"what did i say this week", 6}, {"what was it last month", 8},
        {"this month, but not last week", 6}, {"that thing about pricing", 9}, {"", 9},
    };
    for (const auto& [query, count] : cases) {
        const std::string block = store.recallContext(query, 30).value_or("");
        EXPECT_TRUE(block.starts_with("Here are the user's " + std::to_string(count) + " most recent"))
            << query << block;
    }
    EXPECT_EQ(store.recallContext("today", 30), "Here are the user's 3 most recent dictation entries:\n\n"
                                                "[1] Mar 31, 2026, 2:32 PM:\nमीटिंग कल है\n\n"
                                                "[2] Mar 31, 2026, 12:00 AM:\ntoday at midnight\n\n"
                                                "[3] long ago:\nan unreadable date\n\n");
    EXPECT_EQ(store.recallContext("anything", 1), "Here are the user's 1 most recent dictation entries:\n\n"
                                                  "[1] Mar 31, 2026, 2:32 PM:\nमीटिंग कल है\n\n");
    write(writeJson(json{{"history", {entry("2026-03-29T10:00:00Z", "not of today")}}}));
    EXPECT_EQ(store.recallContext("what did i say today", 30), std::nullopt);
}

TEST_F(Statistics, ThreadsLoseNothingToEachOther) {
    constexpr int each = 25;
    std::atomic<bool> done = false;
    std::jthread sync([&] {
        while (!done) {
            std::set<std::string> ids;
            for (const json& unsynced : store.unsyncedEntries())
                ids.insert(unsynced["entry_id"]);
            store.markSynced(ids);
            store.applyServerStats(json{{"total_words", 1}});
        }
    });
    std::jthread reader([&] {
        std::size_t last = 0;
        while (!done) {
            const std::size_t now = store.historyEntries().size();
            EXPECT_GE(now, last) << "a reader never finds half a file";
            last = now;
            store.shownTodayStats();
        }
    });
    {
        std::vector<std::jthread> writers;
        for (int thread = 0; thread < 2; ++thread)
            writers.emplace_back([&] {
                for (int i = 0; i < each; ++i)
                    store.recordDictation("three words each", 1);
            });
    }
    done = true;
    sync.join();
    EXPECT_EQ(store.allTimeStats().totalWords, 2 * each * 3);
    EXPECT_EQ(store.historyEntries().size(), 2u * each);
}
