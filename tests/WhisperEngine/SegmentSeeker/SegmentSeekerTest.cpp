#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"

#include "WhisperEngine/support/Tokens.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

using namespace fenlo::whisper;
using namespace fenlo::whisper::test;

namespace {

constexpr int windowSize = 30 * sampleRate;

class Seeking : public ::testing::Test {
protected:
    Seeking() { options.skipSpecialTokens = true; }

    /// Reads a window whose decoding sampled these tokens.
    SeekResult read(const std::vector<int>& sampled, int seek = 0, int size = windowSize) {
        result.tokens = prompt;
        result.tokens.insert(result.tokens.end(), sampled.begin(), sampled.end());
        result.tokens.push_back(tokenizer().specialTokens().endToken);
        result.tokenLogProbs.clear();
        for (std::size_t i = 0; i < result.tokens.size(); ++i)
            result.tokenLogProbs.push_back(-0.01F * static_cast<float>(i));
        return seeker.findSeekPointAndSegments(result, options, 7, seek, size, tokenizer());
    }
    /// "start-end text" of each segment.
    static std::vector<std::string> brief(const SeekResult& found) {
        std::vector<std::string> lines;
        for (const TranscriptionSegment& segment : found.segments.value())
            lines.push_back(std::to_string(segment.start).substr(0, 4) + "-" +
                            std::to_string(segment.end).substr(0, 4) + segment.text);
        return lines;
    }

    const SegmentSeeker seeker;
    std::vector<int> prompt{tokenizer().specialTokens().startOfTranscriptToken};
    DecodingResult result;
    DecodingOptions options;
};

using Lines = std::vector<std::string>;

} // namespace

TEST_F(Seeking, Pairs_CutTheWindow_AndTheRestIsDecodedAgain) {
    const auto found = read(tokens(at(1), " New line.", at(4), at(5), " Select all.", at(10), at(10), " And"));
    EXPECT_EQ(brief(found), (Lines{"1.00-4.00 New line.", "5.00-10.0 Select all."}));
    EXPECT_EQ(found.nextSeek, 10 * sampleRate);
}

TEST_F(Seeking, SingleTimeAtTheEnd_ClosesASegment) {
    auto found = read(tokens(at(0), " New line.", at(4), at(4), " Copy that.", at(9)), sampleRate);
    EXPECT_EQ(brief(found), (Lines{"1.00-5.00 New line.", "5.00-10.0 Copy that."}));
    EXPECT_EQ(found.nextSeek, 10 * sampleRate) << "the last time";
    found = read(tokens(at(0.5), " New line.", at(4)), sampleRate);
    EXPECT_EQ(brief(found), (Lines{"1.00-5.00 New line."}));
    EXPECT_EQ(found.nextSeek, 31 * sampleRate) << "without a pair the whole window is done";
}

TEST_F(Seeking, TwoTimesAtTheEnd_TakeTheWholeWindow) {
    const auto found = read(tokens(at(0), " New line.", at(4), at(4)));
    EXPECT_EQ(brief(found), (Lines{"0.00-4.00 New line."}));
    EXPECT_EQ(found.nextSeek, windowSize);
}

TEST_F(Seeking, LosesNoSpeech_GoesOnAtAPair_AndTakesTheWindowAtASingleTime) {
    options.losesNoSpeech = true;
    const auto goesOnAt = [&](const std::vector<int>& sampled) { return read(sampled, 320).nextSeek - 320; };
    EXPECT_EQ(goesOnAt(tokens(at(0), " New line.", at(4), at(5))), 4 * sampleRate) << "where the sentence ended";
    EXPECT_EQ(goesOnAt(tokens(at(0), " New line.", at(4), at(5), " Copy that.", at(9))), windowSize);
    EXPECT_EQ(goesOnAt(tokens(at(0), " New line.", at(4), at(5), " Copy")), 4 * sampleRate);
    EXPECT_EQ(brief(read(tokens(at(0), " New line.", at(4), at(5), " Copy"))), (Lines{"0.00-4.00 New line."}));
    EXPECT_EQ(goesOnAt(tokens(at(0), " New", at(0.02), at(0.02))), SegmentSeeker::leastStep) << "never less";
    EXPECT_EQ(goesOnAt(tokens(at(0), at(0), " New line.")), windowSize);
}

TEST_F(Seeking, NoPairs_OneSegmentToTheWindowsEnd) {
    EXPECT_EQ(brief(read(tokens(at(1), " New line."), 0, 5 * sampleRate)), (Lines{"0.00-5.00 New line."}));
    prompt.push_back(tokenizer().specialTokens().noTimestampsToken);
    options.withoutTimestamps = true;
    const auto found = read(tokens(" New line. Copy that."), sampleRate, 5 * sampleRate);
    EXPECT_EQ(brief(found), (Lines{"1.00-6.00 New line. Copy that."}));
    EXPECT_EQ(found.nextSeek, 6 * sampleRate);
}

TEST_F(Seeking, Segments_CarryWhatTheWindowKnows) {
    result.temperature = 0.4F;
    result.avgLogProb = -0.5F;
    result.compressionRatio = 1.5F;
    result.noSpeechProb = 0.1F;
    options.skipSpecialTokens = false;
    const auto sampled = tokens(at(0), " New line.", at(4), at(4), " Copy that.", at(9));
    const auto found = read(sampled, 320);
    ASSERT_EQ(found.segments->size(), 2u);
    const TranscriptionSegment& second = found.segments->at(1);
    EXPECT_EQ(second.id, 8);
    EXPECT_EQ(second.seek, 320);
    EXPECT_EQ(second.text, "<|4.00|> Copy that.<|9.00|>");
    EXPECT_EQ(second.tokens, tokens(at(4), " Copy that.", at(9)));
    ASSERT_EQ(second.tokenLogProbs.size(), second.tokens.size());
    EXPECT_FLOAT_EQ(second.tokenLogProbs.back(), -0.01F * static_cast<float>(sampled.size()))
        << "its own, not the prompt's";
    EXPECT_EQ(second.temperature, 0.4F);
    EXPECT_EQ(second.avgLogprob, -0.5F);
    EXPECT_EQ(second.compressionRatio, 1.5F);
    EXPECT_EQ(second.noSpeechProb, 0.1F);
}

TEST_F(Seeking, Prompt_IsNoPartOfASegment) {
    const SpecialTokens& special = tokenizer().specialTokens();
    prompt = tokens(special.startOfPreviousToken, " Before.", special.startOfTranscriptToken, special.englishToken,
                    special.transcribeToken, " Dear");
    options.prefixTokens = tokens(" Dear");
    EXPECT_EQ(brief(read(tokens(at(0), " New line.", at(4)))), (Lines{"0.00-4.00 New line."}));
}

TEST_F(Seeking, Silence_HasNoSegments) {
    const auto speech = tokens(at(0), " New line.", at(4), at(4), " Copy that.", at(9));
    result.noSpeechProb = 0.7F;
    result.avgLogProb = -1.1F;
    EXPECT_EQ(read(speech, 16).segments, std::nullopt);
    EXPECT_EQ(read(speech, 16).nextSeek, windowSize + 16);
    result.avgLogProb = -0.9F;
    EXPECT_TRUE(read(speech).segments) << "words the model is sure of are no silence";
    options.logProbThreshold.reset();
    EXPECT_FALSE(read(speech).segments);
    options.noSpeechThreshold.reset();
    EXPECT_TRUE(read(speech).segments);
}

TEST_F(Seeking, TimesThatLeadNowhere_EndTheWindow) {
    const auto standing = read(tokens(at(0), at(0), " New line."));
    EXPECT_EQ(brief(standing), (Lines{"0.00-30.0 New line."}));
    EXPECT_EQ(standing.nextSeek, windowSize);
    const auto beyond = read(tokens(at(1), " New line.", at(29), at(29), " Copy"), 0, 3 * sampleRate);
    EXPECT_EQ(brief(beyond), (Lines{"1.00-3.00 New line.", "3.00-3.00 Copy"})) << "held to the audio";
    EXPECT_EQ(beyond.nextSeek, 3 * sampleRate);
    const auto empty = read({});
    EXPECT_TRUE(empty.segments->empty());
    EXPECT_EQ(empty.nextSeek, windowSize);
}

TEST_F(Seeking, AnyTokens_MoveOnAndLoseNoText) {
    const SpecialTokens& special = tokenizer().specialTokens();
    std::mt19937 random(11);
    for (int round = 0; round < 5000; ++round) {
        std::vector<int> sampled;
        for (auto count = random() % 30; count-- > 0;)
            switch (random() % 8) {
            case 0:
            case 1:
            case 2:
            case 3:
                sampled.push_back(static_cast<int>(random() % 50000));
                break;
            case 4:
                sampled.push_back(special.noSpeechToken);
                break;
            default:
                sampled.push_back(special.timeTokenBegin + static_cast<int>(random() % 1501));
                break;
            }
        options.losesNoSpeech = round % 2 == 0;
        const int seek = static_cast<int>(random() % 1000000);
        const int size = static_cast<int>(random() % windowSize) + 1;
        const auto found = read(sampled, seek, size);
        ASSERT_GT(found.nextSeek, seek);
        ASSERT_LE(found.nextSeek, seek + size);

        std::vector<int> text;
        double end = seek / 16000.0;
        for (const TranscriptionSegment& segment : *found.segments) {
            ASSERT_GE(segment.start, end - 1e-4);
            ASSERT_GE(segment.end, segment.start);
            end = segment.end;
            ASSERT_EQ(segment.tokens.size(), segment.tokenLogProbs.size());
            std::ranges::copy_if(segment.tokens, std::back_inserter(text),
                                 [&](int token) { return token < special.specialTokenBegin; });
        }
        ASSERT_LE(end, (seek + size) / 16000.0 + 1e-4);
        std::vector<int> expected;
        std::ranges::copy_if(sampled, std::back_inserter(expected),
                             [&](int token) { return token < special.specialTokenBegin; });
        ASSERT_LE(text.size(), expected.size());
        if (found.nextSeek == seek + size)
            ASSERT_EQ(text, expected);
        else
            ASSERT_TRUE(std::equal(text.begin(), text.end(), expected.begin())) << "only the end is left for later";
    }
}
