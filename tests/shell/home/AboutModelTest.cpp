#include "shell/home/AboutModel.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(AboutModel, FindingsAreToldInASentenceAndCopiedAsAReport) {
    using Found = Diagnosis::State;
    test::VirtualClock clock;
    test::VirtualMainQueue queue(clock);
    test::ManualBackground background;
    std::string copied;
    std::optional<std::vector<Diagnosis>> answer;
    AboutModel about({"1.2",
                      "Some System",
                      {},
                      queue,
                      background,
                      [&](auto) { return answer; },
                      [&](const std::string& text) { copied = text; },
                      [](const std::string&) {}});
    const auto examine = [&] {
        about.examine();
        about.examine(); // once is enough
        EXPECT_EQ(about.check(), AboutModel::Check::running);
        EXPECT_EQ(background.pending(), 1u);
        background.runAll();
        queue.runPosted();
    };
    examine();
    EXPECT_EQ(about.check(), AboutModel::Check::failed);
    answer = {{"display", Found::works, "X display :0", ""}};
    examine();
    EXPECT_EQ(about.summary(), "Everything works.");
    answer->push_back({"system tray", Found::limited, "no \"panel\"", "add one"});
    examine();
    EXPECT_EQ(about.summary(), "1 of 2 checks is limited; dictation works.");
    answer->push_back({"microphone", Found::broken, "none", "plug one in"});
    examine();
    EXPECT_EQ(about.summary(), "1 of 3 checks is broken: no dictation works until that is mended.");

    about.copyReport();
    EXPECT_TRUE(about.isCopied());
    EXPECT_EQ(copied, "Fenlo 1.2\nSome System\n\n"
                      "ok       display          X display :0\n"
                      "limited  system tray      no \"panel\"\n"
                      "                          → add one\n"
                      "broken   microphone       none\n"
                      "                          → plug one in\n");
    queue.advance(2.1);
    EXPECT_FALSE(about.isCopied());

    const auto read = readReport(reportJson(about.findings()));
    EXPECT_EQ(reportText(read), reportText(about.findings()));
    for (const char* useless : {"", "{}", "[5]", "segmentation fault"})
        EXPECT_TRUE(readReport(useless).empty()) << useless;
}
