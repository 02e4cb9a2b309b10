#include "WhisperEngine/TokenSampler/TokenSampler.h"

#include "WhisperEngine/TokenSampler/Scores.h"
#include "WhisperEngine/WhisperError.h"

#include <cmath>
#include <gmock/gmock.h>
#include <map>

using namespace fenlo::whisper;
using testing::ElementsAre;

namespace {

constexpr int endToken = 5;

DecodingOptions options(int topK, unsigned seed) {
    DecodingOptions made;
    made.topK = topK;
    made.seed = seed;
    return made;
}

/// How often each token is drawn.
std::map<int, int> draws(const std::vector<float>& logits, float temperature, int topK, unsigned seed, int count) {
    GreedyTokenSampler sampler(temperature, endToken, options(topK, seed));
    std::map<int, int> drawn;
    for (int i = 0; i < count; ++i) {
        std::vector<float> scores = logits;
        ++drawn[sampler.update({}, scores, {}).tokens.front()];
    }
    return drawn;
}

} // namespace

TEST(GreedyTokenSampler, TemperatureZero_TakesTheBestWithItsLogProbability) {
    GreedyTokenSampler sampler(0.0F, endToken, options(5, 1));
    std::vector<float> logits{0.0F, std::log(3.0F), forbiddenScore, 0.0F, std::log(3.0F), forbiddenScore};
    for (int repeat = 0; repeat < 3; ++repeat) {
        const SamplingResult result = sampler.update({7, 8}, logits, {-1.0F, -2.0F});
        EXPECT_THAT(result.tokens, ElementsAre(7, 8, 1)); // of equal ones the first
        EXPECT_FLOAT_EQ(result.logProbs.back(), std::log(3.0F / 8.0F));
        EXPECT_EQ(result.logProbs.size(), 3U);
        EXPECT_FALSE(result.completed);
    }
}

TEST(GreedyTokenSampler, EndToken_CompletesAndIsNotDoubled) {
    GreedyTokenSampler sampler(0.0F, endToken, options(5, 1));
    std::vector<float> logits{0, 0, 0, 0, 0, 1};
    const SamplingResult ended = sampler.update({1}, logits, {0.0F});
    EXPECT_TRUE(ended.completed);
    EXPECT_THAT(sampler.finalize(ended.tokens, ended.logProbs).tokens, ElementsAre(1, endToken));
    logits[0] = 2.0F;
    EXPECT_TRUE(sampler.update({1, endToken}, logits, {0.0F, 0.0F}).completed);

    const SamplingResult closed = sampler.finalize({1}, {-0.5F});
    EXPECT_TRUE(closed.completed);
    EXPECT_THAT(closed.tokens, ElementsAre(1, endToken));
    EXPECT_THAT(closed.logProbs, ElementsAre(-0.5F, 0.0F));
    EXPECT_THAT(sampler.finalize({}, {}).tokens, ElementsAre(endToken));
}

TEST(GreedyTokenSampler, AboveTemperatureZero_DrawsOfTheBestByTheirWeights) {
    // At temperature 0.5 the weights are squared: 4, 16 and 1 of 21; the fourth is outside the best three.
    const std::vector<float> logits{std::log(2.0F), std::log(4.0F), std::log(0.9F), forbiddenScore, 0.0F};
    constexpr int count = 20'000;
    const std::map<int, int> drawn = draws(logits, 0.5F, 3, 42, count);
    const std::map<int, double> expected{{0, 4.0 / 21}, {1, 16.0 / 21}, {4, 1.0 / 21}};
    ASSERT_EQ(drawn.size(), expected.size());
    for (const auto& [token, probability] : expected)
        EXPECT_NEAR(drawn.at(token), count * probability, 4 * std::sqrt(count * probability)) << token;

    EXPECT_EQ(draws(logits, 0.5F, 3, 42, 100), draws(logits, 0.5F, 3, 42, 100));
    EXPECT_NE(draws(logits, 0.5F, 3, 42, 100), draws(logits, 0.5F, 3, 43, 100));
    EXPECT_EQ(draws(logits, 0.5F, 1, 42, 100), (std::map<int, int>{{1, 100}}));
    EXPECT_EQ(draws(logits, 5.0F, 100, 42, 2'000).size(), 4U); // never the forbidden one
    EXPECT_EQ(draws(logits, 1e-30F, 3, 42, 100), (std::map<int, int>{{1, 100}}));

    // The log probability is that of the scores as they are, whatever the temperature.
    GreedyTokenSampler sampler(3.0F, endToken, options(1, 1));
    std::vector<float> scores = logits;
    EXPECT_NEAR(sampler.update({}, scores, {}).logProbs.front(), std::log(4.0 / 7.9), 1e-6);
}

TEST(GreedyTokenSampler, ScoresThatMeanNothing_AreAnError) {
    const float nan = std::nanf("");
    const float infinity = -forbiddenScore;
    for (const float temperature : {0.0F, 0.6F})
        for (std::vector<float> logits :
             {std::vector<float>(300, forbiddenScore), std::vector<float>(300, nan), std::vector<float>{1, nan, 0},
              std::vector<float>{infinity, 0}, std::vector<float>{}}) {
            GreedyTokenSampler sampler(temperature, endToken, options(5, 1));
            try {
                sampler.update({1}, logits, {0.0F});
                ADD_FAILURE() << "took a token";
            } catch (const WhisperError& error) {
                EXPECT_EQ(error.kind, WhisperError::Kind::decodingFailed);
                EXPECT_THAT(error.what(), testing::StartsWith("Sampling error: "));
            }
        }
}
