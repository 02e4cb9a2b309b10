#include "WhisperEngine/SegmentSeeker/WordTidying.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace fenlo::whisper;
using ::testing::ElementsAre;

namespace {

std::vector<WordTiming> wordsOf(const std::vector<std::string>& texts) {
    std::vector<WordTiming> words;
    for (const std::string& text : texts) {
        const auto number = static_cast<int>(words.size());
        words.push_back({.word = text,
                         .tokens = {number},
                         .start = static_cast<float>(number),
                         .end = static_cast<float>(number) + 0.5F,
                         .probability = 1});
    }
    return words;
}

std::vector<std::string> merged(const std::vector<std::string>& texts) {
    auto words = wordsOf(texts);
    mergePunctuations(words);
    std::vector<std::string> result;
    for (const WordTiming& word : words)
        result.push_back(word.word);
    return result;
}

WordTiming word(const char* text, float start, float end) {
    return {.word = text, .tokens = {}, .start = start, .end = end, .probability = 1};
}

constexpr WordDurations half{.median = 0.5F};

} // namespace

TEST(MergePunctuations, JoinsTheNeighbourItBelongsTo) {
    EXPECT_THAT(merged({" see", " (", "below", ")", "."}), ElementsAre(" see", " (below)."));
    EXPECT_THAT(merged({"(", "below", ","}), ElementsAre("(below,"));
    EXPECT_THAT(merged({" say", " \"", "yes", "\"", " now"}), ElementsAre(" say", " \"yes\"", " now"))
        << "a quotation mark goes by its blank";
    EXPECT_THAT(merged({" “", "¿", "qué", "?”"}), ElementsAre(" “¿qué?”"));
    EXPECT_THAT(merged({"日", "本", "。"}), ElementsAre("日", "本。"));
    EXPECT_THAT(merged({".", " well", " -"}), ElementsAre(".", " well", " -")) << "nothing to join";
    EXPECT_THAT(merged({}), ElementsAre());
}

TEST(MergePunctuations, KeepsTokensInOrderAndEndsWithTheMark) {
    auto words = wordsOf({" [", "{", "x", ".", ","});
    mergePunctuations(words);
    ASSERT_EQ(words.size(), 1u);
    EXPECT_THAT(words[0].tokens, ElementsAre(0, 1, 2, 3, 4));
    EXPECT_EQ(words[0].start, 2);
    EXPECT_EQ(words[0].end, 4.5F);
}

TEST(WordDurations, AreTheMedianUpToALimit) {
    const auto median = [](const std::vector<std::vector<WordTiming>>& words) {
        std::vector<TranscriptionSegment> segments(words.size());
        for (std::size_t i = 0; i < words.size(); ++i)
            segments[i].words = words[i];
        return wordDurations(segments).median;
    };
    EXPECT_EQ(median({}), 0);
    EXPECT_EQ(median({{word("a", 1, 1)}}), 0) << "words without duration do not count";
    EXPECT_FLOAT_EQ(median({{word("a", 0, 0.25F), word("b", 1, 1.5F)}, {word("c", 2, 2), word("d", 3, 3.625F)}}), 0.5F);
    EXPECT_FLOAT_EQ(median({{word("a", 0, 2)}}), 0.7F);
    EXPECT_FLOAT_EQ(WordDurations{.median = 0.7F}.longest(), 1.4F);
}

TEST(Clipping, AroundTheEndOfASentence_FromTheSideOfThePause) {
    for (const char* ending : {" all.", " all!", " all?"}) {
        std::vector<WordTiming> words{word(ending, 0, 1.5F), word(" Then", 1.5F, 4), word(" we", 4, 7)};
        clipAtSentenceEnds(words, nullptr, half);
        EXPECT_FLOAT_EQ(words[0].end, 1) << ending;
        EXPECT_FLOAT_EQ(words[1].start, 3) << ending;
        EXPECT_FLOAT_EQ(words[2].start, 4) << "in a sentence it may be slow";
    }
    const WordTiming before = word(" all.", 0, 1);
    std::vector<WordTiming> words{word(" Then", 1, 1.9F)};
    clipAtSentenceEnds(words, &before, half);
    EXPECT_FLOAT_EQ(words[0].start, 1) << "short enough";
    words[0].end = 4;
    clipAtSentenceEnds(words, &before, {});
    EXPECT_FLOAT_EQ(words[0].start, 1) << "no median, no limit";
    clipAtSentenceEnds(words, &before, half);
    EXPECT_FLOAT_EQ(words[0].start, 3);
}

TEST(Clipping, FirstWordsAfterAPause) {
    std::vector<WordTiming> words{word(" So", 0, 5), word(" we", 5, 5.5F)};
    clipAtSegmentEdges(words, 0, 5.5F, 0, half);
    EXPECT_FLOAT_EQ(words[0].start, 4);
    EXPECT_FLOAT_EQ(words[0].end, 5);

    words = {word(" So", 0, 3), word(" we", 3, 6)};
    clipAtSegmentEdges(words, 0, 6, 0, half);
    EXPECT_FLOAT_EQ(words[1].start, 5) << "the second strays into the pause as well";
    EXPECT_FLOAT_EQ(words[0].end, 5);
    EXPECT_FLOAT_EQ(words[0].start, 4);

    words = {word(" So", 0, 5), word(" we", 5, 5.5F)};
    clipAtSegmentEdges(words, 0, 5.5F, 3.5F, half);
    EXPECT_FLOAT_EQ(words[0].start, 0) << "speech has only just ended";
}

TEST(Clipping, TheSegmentsOwnTimesWinWhereAWordStraysFar) {
    std::vector<WordTiming> words{word(" So", 1, 1.9F), word(" it", 2, 2.9F)};
    clipAtSegmentEdges(words, 1.75F, 2.25F, 1, half);
    EXPECT_FLOAT_EQ(words[0].start, 1.4F) << "the median is left to it";
    EXPECT_FLOAT_EQ(words[1].end, 2.5F);
    words = {word(" So", 1, 1.9F), word(" it", 2, 2.9F)};
    clipAtSegmentEdges(words, 1.4F, 2.5F, 1, half);
    EXPECT_FLOAT_EQ(words[0].start, 1) << "up to half a second is allowed";
    EXPECT_FLOAT_EQ(words[1].end, 2.9F);
    words = {word(" So", 1, 1.6F)};
    clipAtSegmentEdges(words, 1.55F, 9, 1, {.median = 0.7F});
    EXPECT_FLOAT_EQ(words[0].start, 1) << "never longer than before";
}
