#include "BackendFixture.h"

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class StatisticsSync : public BackendFixture {
protected:
    std::vector<std::string> shownTexts() const {
        std::vector<std::string> texts;
        for (const HistoryEntry& entry : machine.statistics.past().entries)
            texts.push_back(entry.fullText);
        return texts;
    }
    HistoryEntry shown(const std::string& text) const {
        for (const HistoryEntry& entry : machine.statistics.past().entries)
            if (entry.fullText == text)
                return entry;
        return {};
    }

    /// Another machine of the same person, who has dictated there.
    struct Laptop : Machine {
        Laptop(const StatisticsSync& test, const std::string& text)
            : Machine(test.service.server().url(), test.machine.http) {
            statistics.recordDictation(text, 4);
            for (BackendClient* client : {&test.backend, &backend})
                client->sendLogin("ada@example.org", "Ada", {});
            backend.syncStats({});
        }
    };

    StatisticsStore& own = machine.statistics;
};

} // namespace

TEST_F(StatisticsSync, TellsWhatTheServiceDoesNotHave) {
    own.recordDictation(std::string(100, 'a') + " b", 12);
    own.recordMeeting("[0:05] Ann: hello there", 1, 60);
    service.answer("/stats/sync", 503, "{}");
    EXPECT_FALSE(backend.syncStats({}));
    EXPECT_EQ(own.unsyncedEntries().size(), 2u) << "for the next attempt";

    service.answer("/stats/sync", {});
    const auto entries = own.unsyncedEntries();
    EXPECT_TRUE(backend.syncStats({}));
    const Json told = lastBody();
    EXPECT_EQ(told.at("entries").at(0), (Json{{"entry_id", entries[0].at("entry_id")},
                                              {"words", 2},
                                              {"duration", 12.0},
                                              {"text_preview", std::string(80, 'a')},
                                              {"entry_type", "dictation"}}));
    EXPECT_EQ(told.at("entries").at(1).at("entry_type"), "meeting");
    EXPECT_EQ(told.at("baseline"), (Json{{"total_words", entries[1].at("words").get<int>() + 2},
                                         {"total_sessions", 2},
                                         {"total_duration_secs", 72.0},
                                         {"days_active", 1}}));
    EXPECT_THAT(own.unsyncedEntries(), IsEmpty());
    EXPECT_TRUE(log.contains("[Fenlo] Stats: synced 2 entries, merged from server"));
    EXPECT_TRUE(backend.syncStats({}));
    EXPECT_THAT(lastBody().at("entries"), IsEmpty());
}

TEST_F(StatisticsSync, ALongHistoryGoesInParts) {
    Json history = Json::array();
    for (int i = 0; i < 2001; ++i)
        history.push_back({{"entry_id", std::to_string(i)}, {"ts", "2026-11-15T10:00:00Z"}, {"words", 1}});
    ASSERT_TRUE(files::writeAtomically(machine.home / "stats.json", writeJson(Json{{"history", history}})));
    ASSERT_TRUE(backend.syncStats({}));
    std::vector<std::size_t> sizes;
    for (const WireRequest& request : service.requests())
        if (request.target.ends_with("/stats/sync"))
            sizes.push_back(parseJson(request.body).at("entries").size());
    EXPECT_THAT(sizes, ElementsAre(1000, 1000, 1));
    EXPECT_THAT(own.unsyncedEntries(), IsEmpty());
}

TEST_F(StatisticsSync, WordsOfOfflineModeStayHere) {
    machine.config.update([](Settings& settings) { settings.offlineMode = true; });
    own.recordDictation("said in confidence", 1, SpokenWords::stayHere);
    own.recordDictation("said before", 1);
    service.answer("/stats/sync", 503, "{}");
    backend.syncStats({});
    for (const WireRequest& request : service.requests())
        EXPECT_EQ(request.body.find("said"), std::string::npos) << request.body;

    // What was said in offline mode stays here for ever, although it is told of when that is over.
    machine.config.update([](Settings& settings) { settings.offlineMode = false; });
    service.answer("/stats/sync", {});
    backend.syncStats({});
    const Json told = lastBody().at("entries");
    EXPECT_EQ(told.at(0).at("text_preview"), "");
    EXPECT_EQ(told.at(0).at("words"), 3);
    EXPECT_EQ(told.at(1).at("text_preview"), "said before");
    EXPECT_THAT(shownTexts(), ElementsAre("said before", "said in confidence"));
}

TEST_F(StatisticsSync, TwoMachinesAreOneHistory) {
    const Laptop laptop(*this, "four words of hers");
    own.recordDictation("two words", 2);
    ASSERT_TRUE(backend.syncStats({}));
    EXPECT_EQ(own.shownAllTimeStats().totalWords, 6);
    EXPECT_EQ(own.shownAllTimeStats().totalSessions, 2);
    EXPECT_EQ(own.allTimeStats().totalWords, 2) << "the file keeps its own";
    EXPECT_THAT(shownTexts(), ::testing::UnorderedElementsAre("two words", "four words of hers"));

    // With the service gone, the numbers still move.
    service.answer("/stats/sync", 503, "{}");
    own.recordDictation("three more words", 3);
    EXPECT_FALSE(backend.syncStats({}));
    EXPECT_EQ(own.shownAllTimeStats().totalWords, 9);
    EXPECT_EQ(own.shownAllTimeStats().totalSessions, 3);

    own.forgetServerStats();
    EXPECT_EQ(own.shownAllTimeStats().totalWords, 5);
    EXPECT_THAT(shownTexts(), ElementsAre("three more words", "two words"));

    // The service, which knows of no sign-out, tells the same as before.
    service.answer("/stats/sync", 200, R"({"total_words": 9, "history": [{"ts": "2026-11-15T10:00:00Z"}]})");
    EXPECT_TRUE(backend.syncStats({}));
    EXPECT_EQ(own.shownAllTimeStats().totalWords, 5) << "nobody is signed in";
    EXPECT_EQ(own.past().entries.size(), 2u);
    own.followServer();
    EXPECT_TRUE(backend.syncStats({}));
    EXPECT_EQ(own.shownAllTimeStats().totalWords, 9);
}

TEST_F(StatisticsSync, WhatWasDeletedDoesNotComeBack) {
    const Laptop laptop(*this, "hers");
    own.recordDictation("mine", 1);
    backend.syncStats({});

    const auto mine = own.removeEntry(shown("mine"));
    const auto hers = own.removeEntry(shown("hers"));
    backend.syncStats({});
    EXPECT_THAT(shownTexts(), IsEmpty());
    ASSERT_TRUE(mine.entry && hers.entry);
    EXPECT_EQ(own.restoreEntry(*hers.entry), "");
    EXPECT_EQ(own.restoreEntry(*mine.entry), "");
    EXPECT_THAT(shownTexts(), ::testing::UnorderedElementsAre("mine", "hers"));

    EXPECT_EQ(own.removeAllEntries(), "");
    // Also after another start, when the service tells of them anew.
    StatisticsStore later(machine.home / "stats.json", machine.clock);
    later.applyServerStats(Json{{"history", {{{"entry_id", mine.entry->key}, {"ts", "2026-11-15T10:00:00Z"}}}}});
    EXPECT_THAT(later.past().entries, IsEmpty());
    EXPECT_EQ(later.allTimeStats().totalWords, 1) << "deleted words stay counted";
}
