#include "speech/GroqProvider.h"

#include <gmock/gmock.h>

using namespace fenlo;
using ::testing::ElementsAre;

namespace {

std::string segment(const std::string& text, double noSpeech, double logprob) {
    return R"({"text": ")" + text + R"(", "no_speech_prob": )" + std::to_string(noSpeech) + R"(, "avg_logprob": )" +
           std::to_string(logprob) + "}";
}

std::string replyWith(const std::vector<std::string>& segments) {
    std::string all;
    for (const std::string& one : segments)
        all += (all.empty() ? "" : ", ") + one;
    return R"({"text": "whole", "segments": [)" + all + "]}";
}

} // namespace

TEST(GroqReply, SegmentsAreJoinedAndTheirConfidenceKept) {
    const ProviderResult result = groq::parseReply(
        replyWith({segment(" One.", 0.1, -0.2), segment("two ", 0.4, -0.1), segment("three", 0, -0.6)}), 10);
    EXPECT_EQ(result.text, "One. two  three");
    ASSERT_TRUE(result.meta);
    EXPECT_NEAR(result.meta->avgConfidence, -0.3, 1e-9);
    EXPECT_THAT(result.meta->lowConfidenceRanges, ElementsAre("two ", "three"));
}

TEST(GroqReply, DoubtfulSegmentsAreDroppedByTheLengthOfTheClip) {
    struct Case {
        double noSpeech, logprob, duration;
        bool isKept;
    };
    for (const Case& test :
         {Case{0.8, 0, 10, false}, Case{0.8, 0, 2, true}, Case{0.8, 0, 0, false}, Case{0.7, 0, 10, true},
          Case{0.95, 0, 2.99, true}, Case{0.96, 0, 2, false}, Case{0.8, 0, 3, false}, Case{0, -1.5, 10, false},
          Case{0, -1.5, 2, true}, Case{0, -1.5, 0, false}, Case{0, -1, 10, true}, Case{0, -1.8, 2, true},
          Case{0, -1.81, 2, false}}) {
        const ProviderResult result =
            groq::parseReply(replyWith({segment("word", test.noSpeech, test.logprob)}), test.duration);
        EXPECT_EQ(result.text, test.isKept ? "word" : "")
            << test.noSpeech << ' ' << test.logprob << ' ' << test.duration;
        ASSERT_TRUE(result.meta);
        EXPECT_EQ(result.meta->lowConfidenceRanges.empty(), !test.isKept);
        EXPECT_EQ(result.meta->avgConfidence, test.isKept ? test.logprob : 0);
    }
}

TEST(GroqReply, OddSegmentsDoNoHarmAndWithoutSegmentsTheTextCounts) {
    const ProviderResult odd = groq::parseReply(
        R"({"segments": [7, {}, {"text": null}, {"text": "kept", "no_speech_prob": "x", "avg_logprob": []}]})", 10);
    EXPECT_EQ(odd.text, "kept");
    EXPECT_EQ(odd.meta->avgConfidence, 0);
    EXPECT_EQ(groq::parseReply(R"({"segments": []})", 0).text, "");

    const ProviderResult plain = groq::parseReply(R"({"text": " plain\n", "segments": null})", 10);
    EXPECT_EQ(plain.text, "plain");
    EXPECT_FALSE(plain.meta);
}
