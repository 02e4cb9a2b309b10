// The whole engine against what an independent implementation made of the same clips with the same model.

#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperEngine.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Text.h"
#include "support/FakeHttpClient.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <numeric>

using namespace fenlo;
using namespace fenlo::whisper;
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
    for (const auto& entry : nlohmann::json::parse(files::read(path).value()))
        clips.push_back({path.parent_path() / entry["file"].get<std::string>(), entry["reference"],
                         entry["with_timestamps"], entry["no_timestamps"]});
    return clips;
}

std::vector<std::string> wordsOf(const std::string& text) {
    std::vector<std::string> words;
    for (const std::string& word : text::words(text::lower(text)))
        words.push_back(text::trimPunctuation(word));
    return words;
}

/// Substitutions, insertions and deletions (Levenshtein).
int wordErrors(const std::vector<std::string>& reference, const std::vector<std::string>& heard) {
    std::vector<int> row(heard.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 1; i <= reference.size(); ++i) {
        int diagonal = std::exchange(row[0], static_cast<int>(i));
        for (std::size_t j = 1; j <= heard.size(); ++j)
            diagonal = std::exchange(
                row[j], std::min({row[j] + 1, row[j - 1] + 1, diagonal + (reference[i - 1] != heard[j - 1] ? 1 : 0)}));
    }
    return row.back();
}

class Golden : public testing::TestWithParam<ComputeUnit> {
protected:
    /// One engine for each precision, in a copy of the model: compiling writes beside the checkpoint.
    static const WhisperEngine& engine() {
        static std::map<ComputeUnit, std::unique_ptr<WhisperEngine>> engines;
        auto& engine = engines[GetParam()];
        if (!engine) {
            static SystemClock clock;
            static test::FakeHttpClient noNetwork;
            const fs::path folder = files::temporaryFile("model_", "");
            fs::copy(DEMO_MODEL_FOLDER, folder);
            WhisperEngineConfig config;
            config.modelFolder = folder;
            config.computeOptions = ModelComputeOptions::all(GetParam());
            engine = WhisperEngine::create(std::move(config), noNetwork, clock, {});
            fs::remove_all(folder); // the models are mapped, and need no names any more
        }
        return *engine;
    }

    /// As the references were made: greedy, one pass, the published suppression lists.
    static DecodingOptions options(bool withoutTimestamps) {
        DecodingOptions options;
        options.withoutTimestamps = withoutTimestamps;
        options.temperatureFallbackCount = 0;
        options.firstTokenLogProbThreshold.reset();
        options.noSpeechThreshold.reset();
        options.maxInitialTimestamp = 1.0f;
        options.suppressBlank = true;
        options.skipSpecialTokens = true;
        const auto settings = nlohmann::json::parse(files::read(fs::path(DEMO_MODEL_FOLDER) / "config.json").value());
        options.supressTokens = settings["suppress_tokens"].get<std::vector<int>>();
        return options;
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
        const TranscriptionResult result = transcribe(clip, options(!withTimestamps));
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
    int words = 0, errors = 0, referenceErrors = 0;
    for (const Clip& clip : clipsOf("eval/references.json")) {
        if (GetParam() == ComputeUnit::float32) {
            expectReference(clip, true);
            expectReference(clip, false);
            continue;
        }
        const auto spoken = wordsOf(clip.reference);
        words += static_cast<int>(spoken.size());
        errors += wordErrors(spoken, wordsOf(transcribe(clip, options(false)).text));
        referenceErrors += wordErrors(spoken, wordsOf(clip.withTimestamps["text"]));
    }
    if (words > 0) {
        EXPECT_LE(100.0 * errors / words, 100.0 * referenceErrors / words + 0.2)
            << errors << " and " << referenceErrors << " errors in " << words << " words";
    }
}

/// What a take in offline mode sees: noise gives nothing, speech its words, with the thresholds on.
TEST_P(Golden, ThresholdsTellSpeechFromNoise) {
    for (const Clip& clip : clipsOf("samples/samples.json")) {
        DecodingOptions dictation;
        dictation.skipSpecialTokens = true;
        const TranscriptionResult result = transcribe(clip, dictation);
        const bool isNoise = clip.file.string().find("noise") != std::string::npos;
        EXPECT_EQ(result.text, isNoise ? "" : clip.withTimestamps["text"].get<std::string>()) << clip.file;
        if (!isNoise) {
            EXPECT_EQ(result.timings.totalDecodingFallbacks, 0) << clip.file;
        }
    }
}

TEST_P(Golden, WordsHaveTimesInsideTheSpeech) {
    const auto list = nlohmann::json::parse(files::read(fs::path(GOLDEN_FOLDER) / "samples/samples.json").value());
    for (const auto& entry : list) {
        if (entry["reference"] == "")
            continue;
        DecodingOptions withWords = options(false);
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
