#include "text/VoiceCorrection.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(VoiceCorrection, IsFoundByItsPrefixes) {
    const std::pair<const char*, const char*> cases[] = {
        {"No I meant Paris.", "Paris"},        {"I meant Paris", "Paris"},
        {"i said \"Tuesday\"!", "Tuesday"},    {"Fix that to Größe", "Größe"},
        {"Correct that to 東京。", "東京"},    {"change that to  the  end ", "the  end"},
        {"Replace with Mary", "Mary"},         {" \t\u00A0I said Mary\t", "Mary"},
        {"“No I meant Paris”", "Paris"}, // the length of the prefix counts from the quote
        {"no i meant i said so", "i said so"},
    };
    for (const auto& [transcript, correction] : cases)
        EXPECT_EQ(matchCorrection(transcript), correction) << transcript;
}

TEST(VoiceCorrection, IsNotSeenElsewhere) {
    for (const char* transcript : {"No, I meant Paris", "no i meant", "I said ", "I said.", "no i meant ...",
                                   "well I meant Paris", "I  meant Paris", "", " . "})
        EXPECT_FALSE(matchCorrection(transcript)) << transcript;
}

TEST(VoiceCorrection, TakesThePlaceOfOneWordOrOfAll) {
    const struct {
        const char *lastText, *correction, *newText;
    } cases[] = {
        {"We met at the clinic.", "hospital", "We met at the hospital."},
        {"Call Tom, at 5!?", "Jim", "Call Jim, at 5!?"},
        {"He is \"don.e\", so", "fin", "He is fin., so"}, // marks of the old word are kept, quotes are not
        {"a  bcd ", "xyz", "a  xyz "},
        {"ab né 👍🏽 x", "Jim", "ab né 👍🏽 x Jim"}, // characters count, not bytes
        {"über zwei", "New York", "über New York"},
        {"Meet Paris!", "paris", "paris Paris!"}, // words of the correction itself are not replaced
        {"Paris is big", "paris big", "Paris is big paris big"},
        {"a b c", "Rosuvas", "a b c Rosuvas"},
        {"London a b c d", "Paris", "Paris a b c d"}, // five words are searched
        {"London a b c d e", "Paris", "London a b c d e Paris"},
        {"", "Paris", " Paris"},
        {"We meet in London.", "at ten sharp", "We meet in at ten sharp."},
        {"We meet in London.", "we meet in London", "we meet in London"},
    };
    for (const auto& [lastText, correction, newText] : cases)
        EXPECT_EQ(applyCorrection(lastText, correction), newText) << lastText << " / " << correction;
}
