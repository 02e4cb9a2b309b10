#include "speech/DeepgramProvider.h"

#include <gmock/gmock.h>

using namespace fenlo;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Not;

namespace {

std::string deepgramReply(const std::string& alternative) {
    return R"({"results": {"channels": [{"alternatives": [)" + alternative + "]}]}}";
}

} // namespace

TEST(DeepgramQuery, TellsTheServiceInOrderWhatItShouldKnow) {
    using Terms = std::vector<std::string>;
    EXPECT_EQ(deepgram::composeQuery("auto", {}, false), "model=nova-3&detect_language=true&smart_format=true");
    EXPECT_EQ(deepgram::composeQuery("de", Terms{"Fenlo"}, true),
              "model=nova-3&language=de&punctuate=false&smart_format=false&keyterm=Fenlo:2");
    EXPECT_EQ(deepgram::composeQuery("a&b=c", {}, false), "model=nova-3&language=a%26b%3Dc&smart_format=true");

    const std::pair<const char*, const char*> terms[] = {
        {"C++", "C%2B%2B"},
        {"R&D = fun; 100 %", "R%26D%20%3D%20fun%3B%20100%20%25"},
        {"a-b.c_d~e", "a-b.c_d~e"},
        {"!$'()*,:@/?", "!$'()*,:@/?"},
        {"#[\"\\]^`{|}<>\n", "%23%5B%22%5C%5D%5E%60%7B%7C%7D%3C%3E%0A"}};
    for (const auto& [term, encoded] : terms)
        EXPECT_THAT(deepgram::composeQuery("de", {term}, false),
                    EndsWith("&smart_format=true&keyterm=" + std::string(encoded) + ":2"));

    Terms many(21, "term");
    many.at(3) = "caf\xE9"; // cannot be encoded
    many.at(19) = "last";
    std::string expected = "model=nova-3&language=de&smart_format=true";
    for (int i = 0; i < 18; ++i)
        expected += "&keyterm=term:2";
    EXPECT_EQ(deepgram::composeQuery("de", many, false), expected + "&keyterm=last:2");
}

TEST(DeepgramReply, ConfidenceIsToldOnTheScaleOfLogProbabilities) {
    struct Case {
        const char* confidence;
        double expected;
    };
    for (const Case& test : {Case{R"(, "confidence": 1)", 0}, Case{R"(, "confidence": 0.5)", -0.69314718},
                             Case{R"(, "confidence": 0)", -2}, Case{R"(, "confidence": -1)", -2},
                             Case{R"(, "confidence": "high")", -2}, Case{"", -2}}) {
        const auto result = deepgram::parseReply(
            deepgramReply(R"({"transcript": " two words\n")" + std::string(test.confidence) + "}"));
        EXPECT_EQ(result.text, "two words");
        ASSERT_TRUE(result.meta);
        EXPECT_NEAR(result.meta->avgConfidence, test.expected, 1e-8) << test.confidence;
        EXPECT_TRUE(result.meta->lowConfidenceRanges.empty());
    }
}

TEST(DeepgramReply, DoubtfulWordsAreGatheredInOneText) {
    const auto result = deepgram::parseReply(deepgramReply(R"({"transcript": "", "confidence": 0.9, "words": [
        {"word": "one", "punctuated_word": "One,", "confidence": 0.69},
        {"word": "sure", "punctuated_word": "sure", "confidence": 0.7},
        {"word": "two", "confidence": 0.1},
        {"word": "three", "punctuated_word": null, "confidence": 0},
        {"word": "unrated"}, {"confidence": 0.1}, {"word": 4, "confidence": 0.1}, 5, null]})"));
    EXPECT_THAT(result.meta->lowConfidenceRanges, ElementsAre("One, two three"));
}
