#include "shell/home/DashboardModel.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Json.h"
#include "shell/StatisticsStore.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using ::testing::ElementsAre;

namespace {

class Dashboard : public ::testing::Test {
protected:
    void goTo(const char* timestamp) {
        clock.advance(std::chrono::duration<double>(dates::parseIso(timestamp).value() - clock.wallTime()).count() +
                      0.001);
    }
    void settle() {
        do {
            background.runAll();
            queue.runPosted();
        } while (background.pending() > 0);
    }
    void record(const std::string& text, double duration) {
        store.recordDictation(text, duration);
        notifications.post(notification::statisticsChanged);
        settle();
    }
    static std::vector<std::string> spoken(const std::vector<DashboardModel::Card>& cards) {
        std::vector<std::string> texts;
        for (const auto& card : cards)
            texts.push_back(card.spoken);
        return texts;
    }

    const test::EnvironmentVariable zone{"TZ", "Asia/Kolkata"};
    test::TemporaryFolder folder;
    test::VirtualClock clock;
    test::VirtualMainQueue queue{clock};
    test::ManualBackground background;
    NotificationCenter notifications;
    StatisticsStore store{folder / "stats.json", clock};
    DashboardModel model{{store, clock, queue, background, notifications}};
};

} // namespace

TEST_F(Dashboard, CardsFollowTheTakesAndTheDay) {
    goTo("2026-11-15T18:20:00Z"); // ten to midnight
    model.open();
    EXPECT_EQ(model.state(), DashboardModel::State::loading);
    settle();
    EXPECT_EQ(model.state(), DashboardModel::State::empty);
    std::string words;
    for (int i = 0; i < 400; ++i)
        words += "word ";
    record(words, 120);
    EXPECT_EQ(model.state(), DashboardModel::State::ready);
    EXPECT_THAT(spoken(model.today()), ElementsAre("400 words", "1 session", "200 WPM", "8 min saved"));
    queue.advance(11 * 60);
    settle();
    EXPECT_THAT(spoken(model.today()), ElementsAre("0 words", "0 sessions", "0 WPM", "0 min saved"));
    for (int i = 0; i < 2; ++i)
        record(words, 120);
    EXPECT_THAT(spoken(model.allTime()),
                ElementsAre("1.2k words", "3 sessions", "200 WPM", "2 days active", "24 min saved"));

    store.applyServerStats(
        nlohmann::json{{"total_words", 1000}, {"total_sessions", 9}, {"total_duration_secs", 600}, {"days_active", 1}});
    record("one", 1);
    EXPECT_THAT(spoken(model.allTime()),
                ElementsAre("1.0k words", "10 sessions", "99 WPM", "1 day active", "15 min saved"))
        << "the server's, and what came since";
}

TEST_F(Dashboard, ChartsShowFourWeeksAndTheHoursOfTheDay) {
    const auto entry = [](const char* ts, int words) { return nlohmann::json{{"ts", ts}, {"words", words}}; };
    const nlohmann::json file{
        {"total_sessions", 5},
        {"daily",
         {{"2026-10-18", {{"words", 900}}}, // one day too early
          {"2026-10-19", {{"words", 50}}},
          {"2026-11-03", {{"words", 200}}},
          {"2026-11-15", {{"words", 100}}}}},
        {"history", {entry("2026-11-14T18:29:59Z", 40), entry("2026-11-14T18:30:00Z", 70), entry("never", 5000)}}};
    ASSERT_TRUE(files::writeAtomically(folder / "stats.json", writeJson(file)));
    goTo("2026-11-15T10:00:00Z");
    model.open();
    settle();

    const auto& days = model.days();
    ASSERT_EQ(days.bars.size(), 28u);
    EXPECT_EQ(days.sentence, "350 words in the last four weeks, most of them on Tuesday 3 November: 200.");
    EXPECT_EQ(days.highest, "200");
    EXPECT_EQ(days.bars[0].height, 0.25);
    EXPECT_EQ(days.bars[15].height, 1);
    EXPECT_EQ(days.bars[15].detail, "Tuesday 3 November: 200 words");
    EXPECT_TRUE(days.bars[27].isToday);
    EXPECT_EQ(days.bars[27].label, "Today");
    EXPECT_EQ(days.bars[6].label, "25 October");
    const auto& hours = model.hours();
    ASSERT_EQ(hours.bars.size(), 24u);
    EXPECT_EQ(hours.bars[0].height, 1);
    EXPECT_NEAR(hours.bars[23].height, 4. / 7, 1e-9);
    EXPECT_EQ(hours.bars[23].detail, "23:00 to 24:00: 40 words");
    EXPECT_EQ(hours.sentence, "You dictate most between 00:00 and 01:00: 70 words of those in your history.");
}
