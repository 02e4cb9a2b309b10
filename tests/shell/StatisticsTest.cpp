#include "shell/Statistics.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(SavedTime, GoesFromMinutesToHoursAndForAllTimeToDays) {
    EXPECT_EQ(savedTimeText(0, 0), "0 min");
    EXPECT_EQ(savedTimeText(40, 300), "0 min") << "slower than typing";
    EXPECT_EQ(savedTimeText(39, 0), "0 min");
    EXPECT_EQ(savedTimeText(40, 0), "1 min");
    EXPECT_EQ(savedTimeText(400, 181), "6 min") << "truncated";
    EXPECT_EQ(savedTimeText(2399, 0), "59 min");
    EXPECT_EQ(savedTimeText(2400, 0), "1.0 hrs");
    EXPECT_EQ(savedTimeText(4000, 600), "1.5 hrs");
    EXPECT_EQ(savedTimeText(57600, 0), "24.0 hrs");
    EXPECT_EQ(allTimeSavedTimeText(57599, 0), "24.0 hrs");
    EXPECT_EQ(allTimeSavedTimeText(57600, 0), "1.0 days");
    EXPECT_EQ(allTimeSavedTimeText(400, 0), "10 min");
}

TEST(Words, AreThePiecesBetweenSingleBlanks) {
    const std::pair<const char*, int> cases[] = {
        {"", 0},
        {" \t\u00A0 ", 0},
        {"one", 1},
        {"  one   two  ", 2},
        {"one\ttwo", 1},
        {"one\u00A0two three", 2},
        {"今日は 晴れ です", 3},
        {"नमस्ते दुनिया", 2},
    };
    for (const auto& [text, count] : cases)
        EXPECT_EQ(wordCount(text), count) << text;
}
