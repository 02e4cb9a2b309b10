#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"

#include "WhisperEngine/Logging.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/support/Tokens.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

using namespace fenlo::whisper;
using namespace fenlo::whisper::test;
using ::testing::ElementsAre;

namespace {

constexpr int frames = 1500;
constexpr float oneFrame = 0.0201F; // seconds; among paths of equal cost the one that turns first wins

TranscriptionSegment segment(float start, float end, std::vector<int> tokens) {
    TranscriptionSegment result;
    result.start = start;
    result.end = end;
    result.tokenLogProbs.assign(tokens.size(), std::log(0.5F));
    result.tokens = std::move(tokens);
    return result;
}

/// Attention in which each token looks at a stretch of the window, from its time to the next one's.
struct Attention {
    explicit Attention(const std::vector<double>& times) : tokens(static_cast<int>(times.size())) {
        for (std::size_t token = 0; token < times.size(); ++token)
            for (int frame = 0; frame < frames; ++frame) {
                const double second = frame * 0.02 + 0.01;
                const double next = token + 1 < times.size() ? times[token + 1] : 30;
                values.push_back(second > times[token] && second < next ? 1.0F : 0.0F);
            }
    }
    AlignmentWeights view() const { return {.values = values, .tokens = tokens, .frames = frames}; }
    int tokens;
    std::vector<float> values;
};

class Words : public ::testing::Test {
protected:
    std::vector<TranscriptionSegment> add(const std::vector<TranscriptionSegment>& segments,
                                          const AlignmentWeights& weights, int seek = 0, int size = 30 * sampleRate,
                                          float lastSpeech = 0) {
        return seeker.addWordTimestamps(segments, weights, {seek, size, lastSpeech}, contextOf("en"));
    }
    AlignmentContext contextOf(const std::string& language) {
        return {.tokenizer = tokenizer(), .language = language, .timings = timings, .logging = logging};
    }
    std::string faultOf(const std::vector<TranscriptionSegment>& segments, const AlignmentWeights& weights) {
        try {
            add(segments, weights);
        } catch (const WhisperError& error) {
            EXPECT_EQ(error.kind, WhisperError::Kind::segmentingFailed);
            return error.what();
        }
        return "";
    }

    const SegmentSeeker seeker;
    TranscriptionTimings timings;
    std::vector<std::string> lines;
    const Logging logging{LogLevel::error, [this](const std::string& line) { lines.push_back(line); }};
};

} // namespace

TEST_F(Words, TakeTheTimesOfTheirTokens) {
    // Time token, " New", " line", ".", time token, and whatever comes next.
    const Attention attention({0, 1, 1.5, 2, 2.1, 2.1});
    const auto result = add({segment(3, 5.1F, tokens(at(1), " New line.", at(2.1)))}, attention.view(), 2 * sampleRate);
    ASSERT_EQ(result.size(), 1u);
    ASSERT_EQ(result[0].words->size(), 2u);
    const WordTiming& first = result[0].words->at(0);
    EXPECT_EQ(first.word, " New");
    EXPECT_NEAR(first.start, 3, oneFrame);
    EXPECT_NEAR(first.end, 3.5, oneFrame);
    EXPECT_NEAR(first.probability, 0.5, 1e-6);
    const WordTiming& last = result[0].words->at(1);
    EXPECT_EQ(last.word, " line.");
    EXPECT_EQ(last.tokens, tokens(" line."));
    EXPECT_NEAR(last.end, 4.1, oneFrame) << "at the end of the full stop";
    EXPECT_EQ(result[0].start, first.start);
    EXPECT_EQ(result[0].end, last.end) << "the segment ends with its last word";
    EXPECT_EQ(timings.totalTimestampAlignmentRuns, 1);
}

TEST_F(Words, BelongToTheirSegments) {
    const Attention attention({0, 1, 1.5, 2, 2, 3, 3, 3.5, 4, 4.2, 4.3});
    const auto result = add(
        {segment(1, 2, tokens(at(1), " New line.", at(2))), segment(3, 4.3F, tokens(at(3), " Copy that.", at(4.3)))},
        attention.view());
    ASSERT_EQ(result.size(), 2u);
    EXPECT_EQ(result[0].words->at(0).word, " New");
    EXPECT_EQ(result[1].words->at(0).word, " Copy");
    EXPECT_EQ(result[1].words->at(1).word, " that.");
    EXPECT_GE(result[1].start, result[0].end);
}

TEST_F(Words, CharactersAreWordsWhereNoBlanksStand) {
    const auto text = tokens("日本語");
    const std::vector<float> values(text.size() * 100, 0.01F);
    const std::vector<float> logProbs(text.size());
    const AlignmentWeights weights{.values = values, .tokens = static_cast<int>(text.size()), .frames = 100};
    EXPECT_EQ(seeker.findAlignment(text, weights, logProbs, contextOf("ja")).size(), 3u);
}

TEST_F(Words, WrongShapes_AreRefused) {
    const std::vector<float> values(30);
    const auto one = segment(0, 1, tokens(" New"));
    EXPECT_EQ(faultOf({one}, {.values = values, .tokens = 3, .frames = 11}), "Invalid shape in alignmentWeights");
    EXPECT_THAT(lines, ElementsAre("Alignment weights shape: [3, 11]"));
    EXPECT_EQ(faultOf({one}, {}), "Invalid shape in alignmentWeights");
    const auto many = segment(0, 1, tokens(" New line. New line. New line."));
    EXPECT_EQ(faultOf({many}, {.values = values, .tokens = 3, .frames = 10}), "Invalid alignment matrix shape");
    EXPECT_TRUE(add({}, {}).empty()) << "nothing to align";
}

TEST_F(Words, AnyAttention_GivesOrderedWordsInsideTheWindow) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> weight(0, 1);
    for (int round = 0; round < 100; ++round) {
        const auto text = tokens(at(0), " Hey Victor, (can) you help me? Now.", at(2), at(2), " \"Yes,\" no!", at(4));
        const auto half = std::ranges::find(text, at(2)) + 1;
        std::vector<float> values((text.size() + 1) * frames);
        std::ranges::generate(values, [&] { return weight(random); });
        const int size = static_cast<int>(random() % (30 * sampleRate)) + 1;
        const auto result = add({segment(5, 7, {text.begin(), half}), segment(7, 9, {half, text.end()})},
                                {.values = values, .tokens = static_cast<int>(text.size()) + 1, .frames = frames},
                                5 * sampleRate, size);
        float end = 5;
        std::string all;
        for (const TranscriptionSegment& part : result) {
            EXPECT_EQ(part.start, part.words->front().start);
            EXPECT_EQ(part.end, part.words->back().end);
            for (const WordTiming& word : *part.words) {
                ASSERT_GE(word.start, end - 1e-4F);
                ASSERT_GE(word.end, word.start);
                end = word.end;
                all += word.word;
            }
        }
        ASSERT_LE(end, 5 + static_cast<float>(size) / 16000 + 0.0201F);
        EXPECT_EQ(all, " Hey Victor, (can) you help me? Now. \"Yes,\" no!");
    }
}
