#include "text/ModelAnswer.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(CleanResponse, TakesOffLabelReasoningAndQuotes) {
    struct Case {
        std::string answer, text;
    };
    const std::string thinking = "Given the context, I will keep it.";
    for (const Case& test : {
             // labels
             Case{" \n Polished Text:\n  Hello There. ", "Hello There."},
             {"Here's the text: Output: x", "Output: x"},
             {"Output: Result: x", "Result: x"},
             {"Cleaned up text:", ""},
             {"Polished text : x", "Polished text : x"},
             {"Edited text:\u0301 x", "x"},
             {"İ Result: x", "İ Result: x"},
             // reasoning
             {thinking + "\n\n However, it is odd.\r\n\r\n Hello there. \n", "Hello there."},
             {thinking + "\nHello, I will.", thinking + "\nHello, I will."},
             {thinking, thinking},
             {thinking + "\n \n\t", thinking},
             {"I will come.\nSo I will.\nBye.", "I will come.\nSo I will.\nBye."},
             {"SINCE you ask, HOWEVER, no.\nYes.", "Yes."},
             {"Output: " + thinking + "\n\"Yes.\"", "Yes."},
             {"It is since\nassuming\nno.", "It is since\nassuming\nno."},
             // quotes
             {"\"Hello.\"", "Hello."},
             {"\"\"Hello.\"\"", "\"Hello.\""},
             {"\"", "\""},
             {"\"\"", ""},
             {"Output: \" x \"", " x "},
             {"\"a\" and b", "\"a\" and b"},
             {"\u201CHello.\u201D", "\u201CHello.\u201D"},
             {"\"Hello.\"\u0301", "\"Hello.\"\u0301"},
             {"\"caf\xE9\"", "caf\uFFFD"},
             {"", ""},
         })
        EXPECT_EQ(cleanResponse(test.answer), test.text) << test.answer;
}

TEST(Refusal, IsAPhraseInAnAnswerMoreThanTwiceAsLong) {
    const std::string refusal = "I CANNOT do it"; // 14 characters
    EXPECT_FALSE(isRefusal(refusal, "seven c"));
    EXPECT_TRUE(isRefusal(refusal, "six ch"));
    EXPECT_FALSE(isRefusal(refusal, "e\u0301\U0001F468\u200D\U0001F469\u200D\U0001F467日本語xx")) << "seven characters";
    EXPECT_FALSE(isRefusal("I can\u2019t do it", "x")) << "only the straight apostrophe counts";
    EXPECT_FALSE(isRefusal("A very long answer without any of them", "x"));
}
