// The whole engine against what an independent implementation made of the same clips with the same model.

#include "golden/Golden.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::whisper;
using namespace fenlo::whisper::test;
namespace fs = std::filesystem;

namespace {

struct Clip {
    fs::path file;
    std::string reference;
    nlohmann::json withTimestamps, withoutTimestamps;
};

std::vector<Clip> clipsOf(const char* list) {
    const fs::path path = fs::path(GOLDEN_FOLDER) / list;
    std::vector<Clip> clips;
    for (const auto& entry : golden(path))
        clips.push_back({path.parent_path() / entry["file"].get<std::string>(), entry["reference"],
                         entry["with_timestamps"], entry["no_timestamps"]});
    return clips;
}

class Golden : public testing::TestWithParam<ComputeUnit> {
protected:
    /// One engine for each precision.
    static const WhisperEngine& engine() {
        static std::map<ComputeUnit, std::unique_ptr<WhisperEngine>> engines;
        auto& engine = engines[GetParam()];
        if (!engine)
            engine = goldenEngine(GetParam());
        return *engine;
    }

    static TranscriptionResult transcribe(const Clip& clip, const DecodingOptions& options) {
        auto results = engine().transcribe(clip.file, options, {}, {});
        EXPECT_EQ(results.size(), 1u);
        return std::move(results.front());
    }

    static std::vector<int> tokensOf(const TranscriptionResult& result) {
        std::vector<int> tokens;
        for (const TranscriptionSegment& segment : result.segments)
            std::ranges::copy_if(segment.tokens, std::back_inserter(tokens), [](int token) { return token != 50256; });
        return tokens;
    }

    static void expectReference(const Clip& clip, bool withTimestamps) {
        const auto& reference = withTimestamps ? clip.withTimestamps : clip.withoutTimestamps;
        const TranscriptionResult result = transcribe(clip, referenceOptions(!withTimestamps));
        const auto expected = reference["tokens"].get<std::vector<int>>();
        const auto tokens = tokensOf(result);
        EXPECT_EQ(result.text, reference["text"].get<std::string>());
        if (result.text.empty())
            return; // a lone timestamp is no segment
        ASSERT_EQ(tokens.size(), expected.size()) << clip.file << ": " << result.text;
        constexpr int timeTokenBegin = 50363;
        for (std::size_t i = 0; i < tokens.size(); ++i)
            EXPECT_NEAR(tokens[i], expected[i], expected[i] >= timeTokenBegin ? 2 : 0) << clip.file << " token " << i;
        const double tolerance = GetParam() == ComputeUnit::float32 ? 0.02 : 0.2;
        EXPECT_NEAR(result.segments.front().avgLogprob, reference["avg_logprob"].get<double>(), tolerance) << clip.file;
        EXPECT_NEAR(result.segments.front().noSpeechProb, reference["no_speech_prob"].get<double>(), tolerance);
    }
};

std::string nameOf(const testing::TestParamInfo<ComputeUnit>& info) {
    return info.param == ComputeUnit::float32 ? "Float32" : "Default";
}

INSTANTIATE_TEST_SUITE_P(Precision, Golden, testing::Values(ComputeUnit::float32, ComputeUnit::automatic), nameOf);

} // namespace

TEST_P(Golden, SamplesHaveTheReferenceTokens) {
    for (const Clip& clip : clipsOf("samples/samples.json")) {
        expectReference(clip, true);
        expectReference(clip, false);
    }
}

TEST_P(Golden, EvaluationClipsAreHeardAsWellAsByTheReference) {
    WordErrors errors;
    for (const Clip& clip : clipsOf("eval/references.json")) {
        if (GetParam() == ComputeUnit::float32) {
            expectReference(clip, true);
            expectReference(clip, false);
            continue;
        }
        errors.add(clip.reference, transcribe(clip, referenceOptions(false)).text, clip.withTimestamps["text"]);
    }
    if (GetParam() != ComputeUnit::float32)
        expectAsWell(errors, 0.2);
}

/// What a take in offline mode sees: noise gives nothing, speech its words, with the thresholds on.
TEST_P(Golden, ThresholdsTellSpeechFromNoise) {
    for (const Clip& clip : clipsOf("samples/samples.json")) {
        DecodingOptions dictation;
        dictation.skipSpecialTokens = true;
        const TranscriptionResult result = transcribe(clip, dictation);
        dictation.losesNoSpeech = true;
        EXPECT_EQ(transcribe(clip, dictation).text, result.text) << clip.file;
        const bool isNoise = clip.file.string().find("noise") != std::string::npos;
        EXPECT_EQ(result.text, isNoise ? "" : clip.withTimestamps["text"].get<std::string>()) << clip.file;
        if (!isNoise) {
            EXPECT_EQ(result.timings.totalDecodingFallbacks, 0) << clip.file;
        }
    }
}

TEST_P(Golden, WordsHaveTimesInsideTheSpeech) {
    const auto list = golden(fs::path(GOLDEN_FOLDER) / "samples/samples.json");
    for (const auto& entry : list) {
        if (entry["reference"] == "")
            continue;
        DecodingOptions withWords = referenceOptions(false);
        withWords.wordTimestamps = true;
        const auto results = engine().transcribe(fs::path(GOLDEN_FOLDER) / "samples" / entry["file"].get<std::string>(),
                                                 withWords, {}, {});
        std::vector<WordTiming> words;
        for (const auto& segment : results.front().segments)
            std::ranges::copy(segment.words.value(), std::back_inserter(words));
        ASSERT_EQ(words.size(), wordsOf(results.front().text).size()) << entry["file"];
        EXPECT_NEAR(words.front().start, entry["true_start_s"].get<double>(), 0.25) << entry["file"];
        EXPECT_NEAR(words.back().end, entry["true_end_s"].get<double>(), 0.35) << entry["file"];
        for (std::size_t i = 0; i < words.size(); ++i) {
            EXPECT_LE(words[i].start, words[i].end);
            EXPECT_GT(words[i].probability, 0.1);
            if (i > 0) {
                EXPECT_GE(words[i].start + 1e-3, words[i - 1].end) << entry["file"] << words[i].word;
            }
        }
    }
}
