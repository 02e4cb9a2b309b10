#include "WhisperEngine/TextDecoder/TextDecoder.h"
#include "ScriptedModels.h"
#include "WhisperEngine/TextDecoder/TextMeasures.h"
#include "WhisperEngine/TokenSampler/TokenSampler.h"
#include "WhisperEngine/WhisperError.h"
#include "support/VirtualTime.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::whisper;
using fenlo::whisper::test::ScriptedDecoder;
using fenlo::whisper::test::ScriptedPass;
using fenlo::whisper::test::sharedTokenizer;
using fenlo::whisper::test::tokenizer;

namespace {

/// A stored cache for the first positions, with the marks that the scripted decoder leaves.
class StoredStart final : public TextDecoderContextPrefillModel {
public:
    int positions() const override { return 2; }
    void predict(int, int, std::span<float> keys, std::span<float> values) const override {
        if (fails)
            throw std::runtime_error("no such language");
        for (std::size_t i = 0; i < keys.size(); ++i)
            keys[i] = values[i] = static_cast<float>(i / 4) + 1;
    }
    bool fails = false;
};

class Decoding : public testing::Test {
protected:
    Decoding() {
        options.withoutTimestamps = true; // plain text: no rules between the script and the result
        options.suppressBlank = false;
    }

    DecodingResult decode(std::vector<ScriptedPass> passes, const TranscriptionCallback& callback = {},
                          std::shared_ptr<const TextDecoderContextPrefillModel> prefill = nullptr, int logits = 51864) {
        model = std::make_shared<ScriptedDecoder>(std::move(passes), logits);
        const TextDecoder decoder(model, std::move(prefill), vocabulary, {}, time, Logging());
        DecodingInputs inputs = decoder.prepareDecoderInputs(decoder.prefillPrompt(options, "en", previous), true);
        decoder.prefillDecoderInputs(inputs, options, "en");
        model->promptLength = static_cast<int>(inputs.initialPrompt.size());
        promptLength = inputs.initialPrompt.size();
        GreedyTokenSampler sampler(0, tokenizer().specialTokens().endToken, options);
        AudioEmbeddings embeddings;
        decoder.attachUntil(embeddings, {});
        TranscriptionTimings timings;
        return decoder.decodeText(
            embeddings, inputs, sampler, options,
            {.language = "en", .callback = callback, .timings = timings, .stop = stop.get_token()});
    }

    std::vector<int> sampled(const DecodingResult& result) const {
        return {result.tokens.begin() + static_cast<std::ptrdiff_t>(promptLength), result.tokens.end()};
    }

    fenlo::test::VirtualClock time;
    std::stop_source stop;
    DecodingOptions options;
    std::vector<int> previous;
    std::shared_ptr<ScriptedDecoder> model;
    std::shared_ptr<const WhisperTokenizer> vocabulary = sharedTokenizer();
    std::size_t promptLength = 0;
    const SpecialTokens special = tokenizer().specialTokens();
};

} // namespace

TEST_F(Decoding, SamplesUntilTheEndTokenAndMeasuresWhatWasSampled) {
    const std::vector<int> words = tokenizer().encode(" Select all.");
    const DecodingResult result = decode({{.tokens = words}});
    EXPECT_EQ(result.text, " Select all.");
    std::vector<int> expected = words;
    expected.push_back(special.endToken);
    EXPECT_EQ(sampled(result), expected);
    EXPECT_EQ(result.tokens.size(), result.tokenLogProbs.size());
    EXPECT_NEAR(result.avgLogProb, -std::log(1 + 51862 * std::exp(-20.0)), 1e-4) << "the prompt does not count";
    EXPECT_LT(result.noSpeechProb, 1e-6);
    EXPECT_FALSE(result.fallback);
}

TEST_F(Decoding, ReadsNoSpeechAtTheStartOfTheTranscript) {
    previous = tokenizer().encode(" Said before.");
    options.firstTokenLogProbThreshold.reset();
    const DecodingResult result = decode({{.tokens = {262}, .noSpeechScore = 30}});
    EXPECT_GT(result.noSpeechProb, 0.99);
    ASSERT_EQ(model->fedTokens.size(), 1u);
    const std::vector<int>& fed = model->fedTokens.front();
    EXPECT_EQ(fed.front(), special.startOfPreviousToken);
    EXPECT_EQ(fed[previous.size() + 1], special.startOfTranscriptToken);
    EXPECT_EQ(fed[previous.size() + 2], special.noTimestampsToken);
}

TEST_F(Decoding, KeepsToTheLimitsOfSteps) {
    options.sampleLength = 500;
    const std::vector<int> endless(600, 262);
    EXPECT_EQ(decode({{.tokens = endless}}).tokens.size(), 223u + 2) << "the last sampled token, and the end token";
    options.sampleLength = 5;
    EXPECT_EQ(sampled(decode({{.tokens = endless}})).size(), 5u + 2);
    options.sampleLength = 224;
    options.prefixTokens = endless;
    previous = endless;
    decode({{.tokens = endless}});
    EXPECT_LE(promptLength, 223u) << "a prompt never outgrows the context";
}

TEST_F(Decoding, AFirstTokenBelowTheThresholdEndsTheWindowAtOnce) {
    const DecodingResult result = decode({{.tokens = {262, 262}, .confidence = 5}});
    ASSERT_TRUE(result.fallback);
    EXPECT_TRUE(result.fallback->needsFallback);
    EXPECT_EQ(result.fallback->fallbackReason, "firstTokenLogProbThreshold");
    EXPECT_EQ(model->fedTokens.front().size(), promptLength) << "no call after the first sample";
    options.firstTokenLogProbThreshold.reset();
    EXPECT_FALSE(decode({{.tokens = {262, 262}, .confidence = 5}}).fallback);
}

TEST_F(Decoding, ACallbackEndsTheWindowWithWhatThereIs) {
    std::vector<std::string> seen;
    const DecodingResult result =
        decode({{.tokens = tokenizer().encode(" New line. Select all.")}}, [&](const TranscriptionProgress& progress) {
            seen.push_back(progress.text);
            return seen.size() < 2;
        });
    EXPECT_EQ(seen, (std::vector<std::string>{" New", " New line"}));
    EXPECT_EQ(result.text, " New line");
    EXPECT_EQ(result.tokens.back(), special.endToken);
}

TEST_F(Decoding, AStopRequestEndsItAsCancelled) {
    try {
        decode({{.tokens = {262, 262, 262}}}, [&](const TranscriptionProgress&) {
            stop.request_stop();
            return true;
        });
        FAIL();
    } catch (const WhisperError& error) {
        EXPECT_EQ(error.kind, WhisperError::Kind::cancelled);
    }
}

TEST_F(Decoding, AStoredStartSavesItsCalls) {
    const auto prefill = std::make_shared<StoredStart>();
    options.prefixTokens = std::vector<int>{262, 262};
    decode({{.tokens = {262}}}, {}, prefill);
    EXPECT_EQ(model->fedPositions.front(), 2);
    options.usePrefillCache = false;
    decode({{.tokens = {262}}}, {}, prefill);
    EXPECT_EQ(model->fedPositions.front(), 0);
    options.usePrefillCache = true;
    prefill->fails = true;
    EXPECT_THROW(decode({{.tokens = {262}}}, {}, prefill), WhisperError);
}

TEST_F(Decoding, ThePromptOfAModelOfManyLanguagesNamesLanguageAndTask) {
    const TextDecoder decoder(std::make_shared<ScriptedDecoder>(std::vector<ScriptedPass>{{}}, 51865), nullptr,
                              sharedTokenizer(), {}, time, Logging());
    options.task = DecodingTask::translate;
    EXPECT_EQ(decoder.prefillPrompt(options, "de", {}),
              (std::vector<int>{special.startOfTranscriptToken, tokenizer().languageToken("de").value(),
                                special.translateToken, special.noTimestampsToken}));
    options.withoutTimestamps = false;
    options.usePrefillPrompt = false;
    EXPECT_EQ(decoder.prefillPrompt(options, "de", {}), std::vector<int>{special.startOfTranscriptToken});
    options.usePrefillPrompt = true;
    options.prefixTokens = std::vector<int>{60000};
    EXPECT_THROW(decoder.prefillPrompt(options, "de", {}), WhisperError);
}

// A literal that the vocabulary lacks is never taken for another token.
TEST_F(Decoding, TokensThatTheVocabularyLacks_AreInNoPromptAndHaveNoProbability) {
    const char* file = R"({"model":{"type":"BPE","vocab":{"a":0},"merges":[]},"added_tokens":[
        {"id":5,"content":"<|endoftext|>"},{"id":6,"content":"<|startoftranscript|>"}]})";
    vocabulary = std::make_shared<const WhisperTokenizer>(hub::Tokenizer::parse(file, "bare.json"));
    previous = {0, 0};
    options.sampleLength = 3;
    EXPECT_EQ(decode({{.tokens = {0, 0, 0}, .noSpeechScore = 20}}).noSpeechProb, 0);
    EXPECT_EQ(model->fedTokens.front().front(), 6); // no token stands for the earlier text
    EXPECT_EQ(promptLength, 1U);
    EXPECT_THROW(decode({{}}, {}, nullptr, 51865), WhisperError); // no language, no task
}

TEST(TextMeasures, RepetitionRaisesTheCompressionRatio) {
    const Logging quiet;
    EXPECT_EQ(compressionRatio("", quiet), 1);
    EXPECT_LT(compressionRatio(" The quick brown fox jumps over the lazy dog.", quiet), 1.2f);
    std::string loop;
    for (int i = 0; i < 40; ++i)
        loop += " thank you";
    EXPECT_GT(compressionRatio(loop, quiet), 10);
}

TEST(TextMeasures, HalfFloatsRoundToTheNearestEven) {
    EXPECT_EQ(throughHalf(0.2f), 0.199951171875f);
    EXPECT_EQ(throughHalf(0.4f), 0.39990234375f);
    EXPECT_EQ(throughHalf(0.6f), 0.60009765625f);
    EXPECT_EQ(throughHalf(1.0f), 1.0f);
    EXPECT_EQ(throughHalf(2049.0f), 2048.0f) << "a tie goes to the even neighbour";
    EXPECT_EQ(throughHalf(-0.2f), -0.199951171875f);
    EXPECT_EQ(throughHalf(0x1p-24f), 0x1p-24f) << "the smallest there is";
    EXPECT_EQ(throughHalf(0x1p-26f), 0.0f);
    EXPECT_TRUE(std::isinf(throughHalf(70000.0f)));
}
