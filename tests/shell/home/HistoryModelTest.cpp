#include "shell/home/HistoryModel.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Json.h"
#include "support/EnvironmentVariable.h"
#include "support/ScarceDisk.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using ::testing::ElementsAre;

namespace {

using EditKind = HistoryModel::RowEdit::Kind;

class History : public ::testing::Test {
protected:
    History() {
        model.setOnRows([this](const HistoryModel::RowEdit& edit) {
            edits.push_back(edit.kind);
            switch (edit.kind) { // a list that follows must end up with the model's count
            case EditKind::inserted:
                listed += edit.count;
                break;
            case EditKind::removed:
                listed -= edit.count;
                break;
            case EditKind::reset:
                listed = edit.count;
                break;
            default:
                break;
            }
            EXPECT_EQ(listed, model.rowCount());
        });
    }

    void record(const std::string& text) {
        store.recordDictation(text, 6);
        notifications.post(notification::statisticsChanged);
    }
    /// Until nothing is under way.
    void settle() {
        do {
            background.runAll();
            queue.runPosted();
        } while (background.pending() > 0);
    }
    void openWith(std::initializer_list<const char*> texts) {
        for (const char* text : texts)
            store.recordDictation(text, 6);
        model.open();
        settle();
        edits.clear();
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> shown;
        for (std::size_t i = 0; i < model.rowCount(); ++i)
            shown.push_back(model.row(i).text);
        return shown;
    }
    std::size_t onDisk() const { return store.historyEntries().size(); }

    const test::EnvironmentVariable zone{"TZ", "Asia/Kolkata"};
    const test::EnvironmentVariable locale{"LC_ALL", "C"};
    test::TemporaryFolder folder;
    test::VirtualClock clock;
    test::VirtualMainQueue queue{clock};
    test::ManualBackground background;
    NotificationCenter notifications;
    const std::filesystem::path file = folder / "stats.json";
    StatisticsStore store{file, clock};
    std::vector<std::string> copied;
    std::vector<EditKind> edits;
    std::size_t listed = 0;
    HistoryModel model{
        {store, clock, queue, background, notifications, [this](const std::string& text) { copied.push_back(text); }}};
};

} // namespace

TEST_F(History, ShowsTheNewestFirstAndFollowsWhatIsRecorded) {
    EXPECT_EQ(model.state(), HistoryModel::State::loading);
    model.open();
    EXPECT_FALSE(model.isSlow());
    queue.advance(0.31);
    EXPECT_TRUE(model.isSlow());
    settle();
    EXPECT_FALSE(model.isSlow());
    EXPECT_EQ(model.state(), HistoryModel::State::empty);
    EXPECT_EQ(model.emptyTitle(), "No transcriptions yet");
    EXPECT_EQ(model.emptyText(), "Your dictation history will appear here.");

    record("the first of them");
    record("पहला वाक्य"); // while the first is being read
    settle();
    EXPECT_EQ(model.state(), HistoryModel::State::ready);
    EXPECT_THAT(texts(), ElementsAre("पहला वाक्य", "the first of them"));
    const auto row = model.row(1);
    EXPECT_EQ(row.when, "Just now");
    EXPECT_EQ(row.words, "4 words");
    EXPECT_EQ(row.speed, "40 WPM");
    EXPECT_EQ(row.length, "6.0s");

    edits.clear();
    record("the third");
    settle();
    EXPECT_THAT(edits, ElementsAre(EditKind::inserted)) << "the place in the list stays";
    EXPECT_EQ(model.row(2).key, row.key);
    queue.advance(120);
    EXPECT_EQ(edits.back(), EditKind::updated);
    EXPECT_EQ(model.row(0).when, "2 minutes ago");

    model.close();
    EXPECT_EQ(model.rowCount(), 0u);
    record("unseen");
    settle();
    EXPECT_EQ(model.rowCount(), 0u);
    model.open();
    settle();
    EXPECT_EQ(model.rowCount(), 4u);

    model.close();
    ASSERT_TRUE(files::writeAtomically(file, "{\"history\": 5}"));
    model.open();
    settle();
    EXPECT_EQ(model.state(), HistoryModel::State::failed);
}

TEST_F(History, TheNewestQueryWins) {
    openWith({"Crème brûlée for Friday", "a budget", "the Budget of friday", "مُحَمَّد"});
    EXPECT_EQ(model.countText(), "4 entries");
    model.search("budg");
    model.search("friday BUDGET");
    EXPECT_EQ(model.rowCount(), 4u) << "what was there stays until the answer comes";
    settle();
    EXPECT_THAT(texts(), ElementsAre("the Budget of friday"));
    EXPECT_EQ(model.countText(), "1 of 4 entries");
    EXPECT_EQ(model.removeAllTitle(), "Delete 4 Entries?") << "those too that do not match";

    model.search("creme");
    settle();
    EXPECT_EQ(model.rowCount(), 1u);
    model.search("محمد");
    model.search(" ");
    settle();
    EXPECT_EQ(model.rowCount(), 4u) << "an answer that comes late is dropped";

    model.search("zebra");
    settle();
    EXPECT_EQ(model.state(), HistoryModel::State::noMatch);
    EXPECT_EQ(model.emptyTitle(), "Nothing found for “zebra”");
    record("a zebra at last");
    settle();
    EXPECT_THAT(texts(), ElementsAre("a zebra at last"));
}

TEST_F(History, LongTextsAreShortUntilAsked_AndACopyIsTheWholeText) {
    std::string text;
    for (int i = 0; i < 300; ++i)
        text += i % 2 ? "👩‍👩‍👧" : "é";
    openWith({text.c_str(), "one\ntwo\nthree\nfour\nfive", "short"});
    EXPECT_EQ(model.row(0).more, "");
    EXPECT_EQ(model.row(1).text, "one\ntwo\nthree\nfour…");
    EXPECT_EQ(model.row(2).more, "Show more...");
    EXPECT_LT(model.row(2).text.size(), text.size());
    model.copy(2);
    EXPECT_THAT(copied, ElementsAre(text));
    EXPECT_TRUE(model.row(2).isCopied);
    model.copy(0);
    EXPECT_FALSE(model.row(2).isCopied);
    model.toggle(2);
    EXPECT_EQ(model.row(2).text, text);
    record("above it");
    settle();
    EXPECT_EQ(model.row(3).more, "Show less") << "it is the entry that is shown whole, not the row";
    EXPECT_TRUE(model.row(1).isCopied);
    queue.advance(2.1);
    EXPECT_FALSE(model.row(1).isCopied);
}

TEST_F(History, DeletingTakesTheRowOutAtOnce_UndoPutsItBack) {
    openWith({"one", "two", "three", "four"});
    model.remove(1);
    model.remove(1);
    EXPECT_THAT(texts(), ElementsAre("four", "one"));
    record("five"); // is read before the two are gone from the file
    EXPECT_THAT(texts(), ElementsAre("four", "one"));
    settle();
    EXPECT_THAT(texts(), ElementsAre("five", "four", "one"));
    EXPECT_EQ(onDisk(), 3u);
    EXPECT_EQ(store.allTimeStats().totalWords, 5) << "what was counted stays";
    EXPECT_EQ(model.notice().kind, HistoryModel::Notice::Kind::deleted);
    model.undo();
    model.undo();
    settle();
    EXPECT_THAT(texts(), ElementsAre("five", "four", "two", "one"));
    EXPECT_EQ(model.notice().kind, HistoryModel::Notice::Kind::none);

    model.remove(0);
    settle();
    queue.advance(8.1);
    EXPECT_EQ(model.notice().kind, HistoryModel::Notice::Kind::none);
    model.undo();
    settle();
    EXPECT_EQ(model.rowCount(), 3u) << "too late";

    EXPECT_EQ(model.removeAllVerb(), "Delete 3 Entries");
    model.removeAll();
    settle();
    EXPECT_EQ(model.state(), HistoryModel::State::empty);
    EXPECT_EQ(onDisk(), 0u);
    EXPECT_EQ(model.notice().text, "3 entries deleted");
}

TEST_F(History, WhatTheDiskRefusesIsToldAndStays) {
    openWith({"one", "two", "three"});
    model.remove(0);
    settle();
    {
        const test::ScarceDisk full(16);
        model.undo();
        settle();
        EXPECT_THAT(model.notice().text, ::testing::StartsWith("The entry could not be put back, because "));
        EXPECT_EQ(model.notice().kind, HistoryModel::Notice::Kind::deleted);
    }
    queue.advance(60);
    model.undo();
    settle();
    EXPECT_THAT(texts(), ElementsAre("three", "two", "one"));

    const test::ScarceDisk full(16);
    model.remove(1);
    EXPECT_THAT(texts(), ElementsAre("three", "one"));
    settle();
    EXPECT_THAT(texts(), ElementsAre("three", "two", "one"));
    EXPECT_EQ(model.notice().kind, HistoryModel::Notice::Kind::error);
    model.removeAll();
    settle();
    EXPECT_THAT(model.notice().text, ::testing::StartsWith("Nothing was deleted, because "));
    model.exportTo(folder / "out.txt");
    EXPECT_TRUE(model.isExporting());
    settle();
    EXPECT_FALSE(model.isExporting());
    EXPECT_THAT(model.notice().text, ::testing::StartsWith("out.txt could not be written, because "));
    EXPECT_EQ(model.rowCount(), 3u);
    EXPECT_EQ(onDisk(), 3u);
    EXPECT_EQ(model.noticeAction(), "Close");
    model.answerNotice();
    EXPECT_EQ(model.notice().text, "");
}

TEST_F(History, ExportsTheRowsThatAreShown) {
    openWith({"one apple", "two pears", "three apples"});
    EXPECT_EQ(model.exportName("csv"), "fenlo-history-2023-11-15.csv");
    model.search("apple");
    settle();
    model.exportTo(folder / "out.JSON");
    settle();
    EXPECT_EQ(model.notice().text, "2 entries exported to out.JSON");
    const auto list = parseJson(files::read(folder / "out.JSON").value());
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[1]["text"], "one apple");
}
