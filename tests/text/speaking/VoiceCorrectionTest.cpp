#include "text/VoiceCorrection.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(VoiceCorrection, IsFoundByItsPrefixes) {
    EXPECT_EQ(matchCorrection("No I meant Paris."), "Paris");
    EXPECT_EQ(matchCorrection("I meant Paris"), "Paris");
    EXPECT_EQ(matchCorrection("i said \"Tuesday\"!"), "Tuesday");
    EXPECT_EQ(matchCorrection("Fix that to Größe"), "Größe");
    EXPECT_EQ(matchCorrection("Correct that to 東京。"), "東京");
    EXPECT_EQ(matchCorrection("change that to  the  end "), "the  end");
    EXPECT_EQ(matchCorrection("Replace with Mary"), "Mary");
}

TEST(VoiceCorrection, IsNotSeenElsewhere) {
    EXPECT_FALSE(matchCorrection("No, I meant Paris"));
    EXPECT_FALSE(matchCorrection("no i meant"));
    EXPECT_FALSE(matchCorrection("no i meant ..."));
    EXPECT_FALSE(matchCorrection("well I meant Paris"));
    EXPECT_FALSE(matchCorrection(""));
}

TEST(VoiceCorrection, ReplacesTheLastFittingWordAndKeepsItsPunctuation) {
    EXPECT_EQ(applyCorrection("We meet in London.", "Paris"), "We meet in Paris.");
    EXPECT_EQ(applyCorrection("Call Tom, at 5!?", "Jim"), "Call Jim, at 5!?");
    EXPECT_EQ(applyCorrection("Paris is big", "paris big"), "Paris is big paris big") << "no word qualifies";
    EXPECT_EQ(applyCorrection("a  bcd ", "xyz"), "a  xyz ");
}

TEST(VoiceCorrection, SearchesFiveWordsOnly) {
    EXPECT_EQ(applyCorrection("London a b c d e", "Paris"), "London a b c d e Paris");
    EXPECT_EQ(applyCorrection("London a b c d", "Paris"), "Paris a b c d");
    EXPECT_EQ(applyCorrection("", "Paris"), " Paris");
}

TEST(VoiceCorrection, FourWordsReplaceEverything) {
    EXPECT_EQ(applyCorrection("We meet in London.", "we meet in London"), "we meet in London");
    EXPECT_EQ(applyCorrection("We meet in London.", "at ten sharp"), "We meet in at ten sharp.");
}
