#include "speech/DeveloperText.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(DeveloperText, KnowsItsToolsBySubstring) {
    EXPECT_TRUE(isDeveloperTool("com.microsoft.VSCode"));
    EXPECT_TRUE(isDeveloperTool("xterm.terminal"));
    EXPECT_TRUE(isDeveloperTool("com.jetbrains.clion"));
    EXPECT_FALSE(isDeveloperTool("org.mozilla.firefox"));
    EXPECT_FALSE(isDeveloperTool(""));
    EXPECT_FALSE(isDeveloperTool(std::nullopt));
}

TEST(DeveloperText, CommandsReadAsTyped) {
    const std::pair<const char*, const char*> cases[] = {
        {"Get status.", "git status"},
        {"Get check out main!", "git checkout main"},
        {"gitch push, origin", "git push origin"},
        {"Get comment minus m, open quote Fix It close quote?!", "git commit -m \"fix it \""},
        {"git comment dash a", "git commit -a"},
        {"See dee source", "cd source"},
        {"pseudo apt update", "sudo apt update"},
        {"pseudo-apt", "sudo apt"},
        {"elless minus l", "ls -l"},
        {"grapp minus r.n main", "grep -rn main"},
        {"make dear minus p.a test", "mkdir -pa test"},
        {"get ", "git"},
        {"...", ""},
        {"", ""},
    };
    for (const auto& [spoken, written] : cases)
        EXPECT_EQ(asCommand(spoken), written) << spoken;
}

TEST(DeveloperText, SpokenQuotesBecomeQuotes) {
    const std::pair<const char*, const char*> cases[] = {
        {"echo quote hello quote", "echo \"hello\""},
        {"echo quartz hello courts", "echo \"hello\""},
        {"echo quotes open a b quotes closed", "echo \"a b \""},
        {"echo open quartz a unquote", "echo \"a \""},
        {"echo quote end quote", "echo \"\""},
        {"quoted", "quoted"},
    };
    for (const auto& [spoken, written] : cases)
        EXPECT_EQ(asCommand(spoken), written) << spoken;
}
