#include "WhisperEngine/TokenSampler/LogitsFilter.h"

#include "WhisperEngine/TokenSampler/Scores.h"
#include "base/Files.h"
#include "base/Json.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::whisper;
using nlohmann::json;
using testing::ElementsAre;

namespace {

/// Six words, then the end token and so on, and times from 0.00 to 0.08.
/// Of the published vocabulary for English only.
constexpr SpecialTokens english{.endToken = 50256,
                                .noTimestampsToken = 50362,
                                .specialTokenBegin = 50256,
                                .startOfTranscriptToken = 50257,
                                .timeTokenBegin = 50363,
                                .whitespaceToken = 220};

constexpr SpecialTokens small{.endToken = 6,
                              .noTimestampsToken = 8,
                              .specialTokenBegin = 6,
                              .startOfTranscriptToken = 7,
                              .timeTokenBegin = 11,
                              .transcribeToken = 9,
                              .translateToken = 10,
                              .whitespaceToken = 2};
constexpr int vocabularySize = 16;
constexpr int t0 = 11;

/// Scores with a text token that outweighs all timestamps together.
std::vector<float> textScores() {
    std::vector<float> logits(vocabularySize, 0.0F);
    logits[3] = 9.0F;
    return logits;
}

std::vector<int> allowedAfter(const LogitsFilter& filter, const std::vector<int>& tokens,
                              std::vector<float> logits = textScores()) {
    filter.filterLogits(logits, tokens);
    std::vector<int> allowed;
    for (int token = 0; token < static_cast<int>(logits.size()); ++token)
        if (logits[static_cast<std::size_t>(token)] != forbiddenScore)
            allowed.push_back(token);
    return allowed;
}

} // namespace

TEST(LogitsFilter, SuppressedTokens_AreForbiddenAtEveryStep) {
    const SuppressTokensFilter filter({1, 14, -1, 99});
    for (const std::vector<int>& tokens : {std::vector<int>{}, {7}, {7, 1, 2}})
        EXPECT_THAT(allowedAfter(filter, tokens), ElementsAre(0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 15));
}

TEST(LogitsFilter, FirstSampledToken_IsNeitherBlankNorTheEnd) {
    const SuppressBlankFilter filter(small, 2);
    EXPECT_THAT(allowedAfter(filter, {7, 9}), ElementsAre(0, 1, 3, 4, 5, 7, 8, 9, 10, 11, 12, 13, 14, 15));
    EXPECT_EQ(allowedAfter(filter, {7}).size(), 16U);
    EXPECT_EQ(allowedAfter(filter, {7, 9, 1}).size(), 16U);
}

TEST(LogitsFilter, FirstSampledToken_IsALanguage) {
    const LanguageLogitsFilter filter({4, 5}, vocabularySize, 1);
    EXPECT_THAT(allowedAfter(filter, {7}), ElementsAre(4, 5));
    EXPECT_EQ(allowedAfter(filter, {7, 4}).size(), 16U);
}

TEST(TimestampRules, FirstToken_IsATimestampWithinTheLimit) {
    EXPECT_THAT(allowedAfter(TimestampRulesFilter(small, 1, 2, false), {7}), ElementsAre(t0, t0 + 1, t0 + 2));
    EXPECT_THAT(allowedAfter(TimestampRulesFilter(small, 1, 0, false), {7}), ElementsAre(t0));
    EXPECT_THAT(allowedAfter(TimestampRulesFilter(small, 1, std::nullopt, false), {7}),
                ElementsAre(t0, t0 + 1, t0 + 2, t0 + 3, t0 + 4));
    // Timestamps of a prompt are not part of the transcript.
    EXPECT_THAT(allowedAfter(TimestampRulesFilter(small, 3, 1, false), {7, t0 + 3, t0 + 4}), ElementsAre(t0, t0 + 1));
}

TEST(TimestampRules, ComeInPairsAndNeverGoBack) {
    const TimestampRulesFilter filter(small, 1, std::nullopt, false);
    const std::vector<int> text{0, 1, 2, 3, 4, 5, 6, 7, 9, 10};
    const auto textAnd = [&](std::vector<int> times) {
        times.insert(times.begin(), text.begin(), text.end());
        return times;
    };
    // The first one stands alone and text follows; so it does after two of them.
    EXPECT_EQ(allowedAfter(filter, {7, t0 + 1}), text);
    EXPECT_EQ(allowedAfter(filter, {7, t0, 3, t0 + 1, t0 + 1}), text);
    // Within text: text, or a time later than the last, so that no segment is empty.
    EXPECT_EQ(allowedAfter(filter, {7, t0 + 1, 3}), textAnd({t0 + 2, t0 + 3, t0 + 4}));
    EXPECT_EQ(allowedAfter(filter, {7, t0, 3, t0 + 2, t0 + 3, 4}), textAnd({t0 + 4}));
    EXPECT_EQ(allowedAfter(filter, {7, t0 + 4, 3}), text);
    // A segment was closed: the next one begins there or later, or all ends.
    std::vector<float> logits = textScores();
    logits[6] = 9.0F;
    EXPECT_THAT(allowedAfter(filter, {7, t0, 3, t0 + 2}, logits), ElementsAre(6, 7, 9, 10, t0 + 2, t0 + 3, t0 + 4));
}

TEST(TimestampRules, TimestampsTogetherOutweighTheBestText) {
    const TimestampRulesFilter filter(small, 1, std::nullopt, false);
    std::vector<float> logits = textScores();
    for (int time = t0 + 2; time < vocabularySize; ++time)
        logits[static_cast<std::size_t>(time)] = 8.0F; // three of them weigh log(3) more than one: 9.1 against 9
    EXPECT_THAT(allowedAfter(filter, {7, t0 + 1, 3}, logits), ElementsAre(t0 + 2, t0 + 3, t0 + 4));
    logits[3] = 9.2F;
    EXPECT_EQ(allowedAfter(filter, {7, t0 + 1, 3}, logits).size(), 13U);
    logits[3] = 0.0F;
    logits[6] = 9.2F; // the end counts as text here
    EXPECT_EQ(allowedAfter(filter, {7, t0 + 1, 3}, logits).size(), 13U);
}

TEST(TimestampRules, MultilingualModel_MayFirstSampleLanguageAndTask) {
    const TimestampRulesFilter filter(small, 1, std::nullopt, true);
    EXPECT_EQ(allowedAfter(filter, {7}).size(), 16U);
    EXPECT_EQ(allowedAfter(filter, {7, 5}).size(), 16U);
    for (const int task : {small.transcribeToken, small.translateToken}) {
        EXPECT_EQ(allowedAfter(filter, {7, 5, task}).front(), t0);
        EXPECT_EQ(allowedAfter(filter, {7, 5, task, t0 + 1}).back(), 10);
        EXPECT_EQ(allowedAfter(TimestampRulesFilter(small, 3, std::nullopt, true), {7, 5, task}).front(), t0);
        EXPECT_EQ(allowedAfter(TimestampRulesFilter(small, 4, std::nullopt, true), {7, 5, task, 3}).front(), t0);
    }
}

TEST(TimestampRules, OtherVocabularies_StayWithinTheScores) {
    const TimestampRulesFilter filter(english, 1, 50, false);
    for (const std::size_t size : {0U, 1U, 100U, 50'363U}) {
        std::vector<float> logits(size, 1.0F);
        filter.filterLogits(logits, std::vector{50257, 50363, 1});
        filter.filterLogits(logits, std::vector{50257});
        filter.filterLogits(logits, std::vector<int>{});
        EXPECT_EQ(logits.size(), size);
    }
}

TEST(TimestampRules, RecordedTranscripts_AreNeverForbiddenTheirNextToken) {
    const TimestampRulesFilter rules(english, 1, 50, false);
    const SuppressBlankFilter blank(english, 1);
    int steps = 0;
    for (const char* file : {GOLDEN_FOLDER "/samples/samples.json", GOLDEN_FOLDER "/eval/references.json"}) {
        for (const json& clip : parseJson(files::read(file).value())) {
            SCOPED_TRACE(clip["file"]);
            auto sequence = clip["with_timestamps"]["tokens"].get<std::vector<int>>();
            sequence.push_back(english.endToken);
            std::vector<int> tokens{english.startOfTranscriptToken};
            for (const int next : sequence) {
                std::vector<float> logits(51'864, 0.0F);
                logits[static_cast<std::size_t>(next)] = 12.0F;
                rules.filterLogits(logits, tokens);
                blank.filterLogits(logits, tokens);
                EXPECT_EQ(logits[static_cast<std::size_t>(next)], 12.0F) << "token " << tokens.size();
                tokens.push_back(next);
                ++steps;
            }
        }
    }
    EXPECT_GT(steps, 900);
}
