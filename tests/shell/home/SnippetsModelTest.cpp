#include "shell/home/SnippetsModel.h"
#include "base/Files.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"
#include "text/Snippets.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class SnippetTable : public ::testing::Test {
protected:
    using State = SnippetsModel::State;

    void write(const std::string& content) {
        std::filesystem::create_directories(file.parent_path());
        ASSERT_TRUE(files::writeAtomically(file, content));
    }
    std::string content() const { return files::read(file).value_or("no file"); }
    std::optional<std::string> say(const std::string& words) const { return Snippets(file).matchSnippet(words); }
    std::vector<std::string> problems(const SnippetsModel& table) {
        std::vector<std::string> all;
        for (const auto& row : table.rows())
            all.push_back(row.problem.substr(0, row.problem.find(' ', 9)));
        return all;
    }

    const TemporaryFolder home;
    const std::filesystem::path file = home / ".fenlo/snippets.json";
    VirtualClock clock;
};

} // namespace

TEST_F(SnippetTable, WhatIsTypedCanBeSaid) {
    SnippetsModel table(file, clock);
    EXPECT_EQ(table.state(), State::empty);
    const std::size_t row = table.addRow();
    EXPECT_EQ(table.addRow(), row) << "one blank row is enough";
    table.setText(row, "Best regards,\nAnn");
    EXPECT_EQ(content(), "no file");
    EXPECT_NE(table.rows()[row].problem, "");
    table.setTrigger(row, "  My Sig. ");
    EXPECT_EQ(table.rows()[row].trigger, "my sig");
    EXPECT_EQ(table.rows()[row].problem, "");
    EXPECT_EQ(say("My sig."), "Best regards,\nAnn");
    table.setTrigger(row, " . ");
    EXPECT_EQ(table.rows()[row].trigger, "my sig");
    table.setText(row, "Yours");
    EXPECT_EQ(say("insert my sig"), "Yours");
    table.removeRow(row);
    EXPECT_EQ(table.state(), State::empty);
    EXPECT_EQ(say("my sig"), std::nullopt);
    EXPECT_EQ(table.removedLine(), "“my sig” was removed.");
    table.undoRemove();
    EXPECT_EQ(say("my sig"), "Yours");
    EXPECT_EQ(table.removedLine(), "");
}

TEST_F(SnippetTable, EntriesKeepWhatThisVersionDoesNotKnow) {
    write(
        R"([{"trigger": "sig", "text": "A", "colour": "red"}, {"note": "no snippet"}, {"trigger": "adr", "text": "B"}])");
    SnippetsModel table(file, clock);
    table.setText(0, "Ä");
    EXPECT_EQ(content(), R"([
  {
    "trigger": "sig",
    "text": "Ä",
    "colour": "red"
  },
  {
    "note": "no snippet"
  },
  {
    "trigger": "adr",
    "text": "B"
  }
]
)");
}

TEST_F(SnippetTable, TriggersThatAreNeverHeardAreTold) {
    write(R"([{"trigger": "Sig", "text": "A"}, {"trigger": "adr", "text": "B"}, {"trigger": "adr", "text": "C"},
              {"trigger": "nil", "text": ""}])");
    SnippetsModel table(file, clock);
    EXPECT_EQ(problems(table), (std::vector<std::string>{"This is never", "", "The same words", "There is no"}));
    EXPECT_EQ(say("sig"), std::nullopt);
    table.setTrigger(0, "Sig");
    EXPECT_EQ(say("sig"), "A");
    EXPECT_EQ(problems(table)[0], "");
}

TEST_F(SnippetTable, AnEditOutsideIsNotOverwritten) {
    write(R"([{"trigger": "one", "text": "1"}, {"trigger": "two", "text": "2"}])");
    SnippetsModel table(file, clock);
    write(R"([{"trigger": "new", "text": "0"}, {"trigger": "two", "text": "2"}])");
    table.setText(1, "zwei");
    table.setText(0, "changed");
    EXPECT_EQ(say("new"), "changed") << "the table shows the file as it is after each change";
    EXPECT_EQ(say("two"), "zwei");
    EXPECT_EQ(table.rows().size(), 2u);

    SnippetsModel late(file, clock);
    write(R"([])");
    late.setText(1, "drei");
    EXPECT_EQ(say("two"), "drei") << "what was typed is kept though its entry is gone";
}

TEST_F(SnippetTable, ADamagedFileIsSetAsideAndOneThatMayNotBeReadIsLeftAlone) {
    for (const char* damaged : {"[{\"trigger\": 1, \"text\": \"A\"}]", "{}", "[{", "[[\"a\"]]"}) {
        write(damaged);
        SnippetsModel table(file, clock);
        EXPECT_EQ(table.state(), State::damaged);
        EXPECT_NE(table.faultLine(), "");
        const std::size_t row = table.addRow();
        table.setTrigger(row, "sig");
        EXPECT_EQ(files::read(files::thoseSetAside(file).back()), damaged);
        EXPECT_EQ(table.state(), State::ready);
        std::filesystem::remove(files::thoseSetAside(file).back());
    }
    std::filesystem::remove(file);
    std::filesystem::create_directories(file / "in the way");
    SnippetsModel table(file, clock);
    EXPECT_EQ(table.state(), State::unreadable);
    const std::size_t row = table.addRow();
    table.setTrigger(row, "sig");
    table.setText(row, "A");
    EXPECT_TRUE(std::filesystem::is_directory(file / "in the way"));
    EXPECT_EQ(table.rows()[row].text, "A");
    std::filesystem::remove_all(file);
    table.setText(row, "B");
    EXPECT_EQ(say("sig"), "B") << "once it can be written";
}
