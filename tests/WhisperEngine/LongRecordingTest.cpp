// The walk over recordings longer than a window, with a model that was trained for full windows. Its words are not
// reliable, but the beginnings and ends of its sentences are.

#include "golden/Golden.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::whisper;
using namespace fenlo::whisper::test;
namespace fs = std::filesystem;

namespace {

const fs::path folder = fs::path(GOLDEN_FOLDER).parent_path() / "golden-long";

const nlohmann::json& recordings() {
    static const nlohmann::json list = golden(folder / "samples/samples.json");
    return list;
}

const WhisperEngine& engine(ComputeUnit unit) {
    static std::map<ComputeUnit, std::unique_ptr<WhisperEngine>> engines;
    auto& engine = engines[unit];
    if (!engine)
        engine = goldenEngine(unit, folder / "model/model.safetensors");
    return *engine;
}

TranscriptionResult transcribe(ComputeUnit unit, const nlohmann::json& recording, const DecodingOptions& options) {
    const fs::path file = folder / "samples" / recording["file"].get<std::string>();
    return std::move(engine(unit).transcribe(file, options, {}, {}).front());
}

std::string textOf(const nlohmann::json& segments) {
    std::string text;
    for (const auto& segment : segments)
        text += segment["text"];
    return text;
}

/// As `fenlo transcribe` and an offline take decode, without the limits that each adds.
DecodingOptions ownOptions() {
    DecodingOptions options;
    options.skipSpecialTokens = true;
    options.losesNoSpeech = true;
    return options;
}

} // namespace

TEST(LongRecordings, HaveTheSegmentsOfTheReferencesOfEachRule) {
    constexpr double oneStep = 0.021;
    for (const auto& recording : recordings())
        for (const bool losesNoSpeech : {false, true}) {
            SCOPED_TRACE(recording["file"].get<std::string>() + (losesNoSpeech ? ", a pair goes on" : ""));
            DecodingOptions options = referenceOptions(false);
            options.compressionRatioThreshold.reset();
            options.logProbThreshold.reset();
            options.losesNoSpeech = losesNoSpeech;
            const auto segments = transcribe(ComputeUnit::float32, recording, options).segments;
            const auto& expected = recording[losesNoSpeech ? "pair_goes_on" : "pair_uses_window"];
            ASSERT_EQ(segments.size(), expected.size());
            const auto held = [&](const char* time, std::size_t i) { // our times never leave the recording
                return std::min(expected[i][time].get<double>(), recording["duration_s"].get<double>());
            };
            for (std::size_t i = 0; i < segments.size(); ++i) {
                EXPECT_EQ(segments[i].text, expected[i]["text"].get<std::string>());
                EXPECT_NEAR(segments[i].start, held("start", i), oneStep) << segments[i].text;
                EXPECT_NEAR(segments[i].end, held("end", i), oneStep) << segments[i].text;
            }
        }
}

TEST(LongRecordings, LoseNothingThatTheReferenceHears) {
    int words = 0, errors = 0, referenceErrors = 0;
    for (const auto& recording : recordings()) {
        const auto& sentences = recording["sentences"];
        std::vector<std::string> spoken;
        for (const auto& sentence : sentences)
            std::ranges::copy(wordsOf(sentence["text"]), std::back_inserter(spoken));
        const TranscriptionResult result = transcribe(ComputeUnit::automatic, recording, ownOptions());
        const Alignment ours = align(spoken, wordsOf(result.text));
        const Alignment reference = align(spoken, wordsOf(textOf(recording["pair_goes_on"])));
        words += static_cast<int>(spoken.size());
        errors += ours.errors;
        referenceErrors += reference.errors;
        auto word = std::ptrdiff_t{0};
        for (const auto& sentence : sentences) {
            const auto length = std::ssize(wordsOf(sentence["text"]));
            // The model may mishear all words of a sentence; a segment then stands at its time all the same.
            const bool isMisheard = std::ranges::any_of(result.segments, [&](const TranscriptionSegment& segment) {
                return std::abs(segment.start - sentence["start"].get<float>()) < 0.2f &&
                       std::abs(segment.end - sentence["end"].get<float>()) < 0.2f;
            });
            const auto foundIn = [&](const Alignment& alignment) {
                return std::count(alignment.found.begin() + word, alignment.found.begin() + word + length, true);
            };
            EXPECT_TRUE(foundIn(ours) > 0 || isMisheard || 2 * foundIn(reference) <= length) << sentence;
            word += length;
        }
    }
    EXPECT_LE(100.0 * errors / words, 100.0 * referenceErrors / words + 1) << errors << " and " << referenceErrors;
}

TEST(LongRecordings, EvaluationClipsAreHeardAsWellIn8BitsAsByTheReference) {
    WordErrors errors;
    for (const auto& clip : golden(folder / "eval.json")) {
        const fs::path file = fs::path(GOLDEN_FOLDER) / "eval" / clip["file"].get<std::string>();
        const auto heard = engine(ComputeUnit::automatic).transcribe(file, referenceOptions(false), {}, {}).front();
        errors.add(clip["reference"], heard.text, clip["heard"]);
    }
    expectAsWell(errors, 0.2);
}

TEST(LongRecordings, WordsFollowEachOtherInsideTheirSegments_AndDrawsRepeat) {
    DecodingOptions options = ownOptions();
    options.wordTimestamps = true;
    options.temperature = 0.6f; // draws
    const auto& recording = recordings().back();
    const TranscriptionResult result = transcribe(ComputeUnit::automatic, recording, options);
    float last = 0;
    for (const TranscriptionSegment& segment : result.segments)
        for (const WordTiming& word : segment.words.value_or(std::vector<WordTiming>())) {
            EXPECT_GE(word.start, std::max(last, segment.start)) << word.word;
            EXPECT_GE(word.end, word.start) << word.word;
            EXPECT_LE(word.end, segment.end) << word.word;
            last = word.end;
        }
    EXPECT_GT(last, 40);
    EXPECT_EQ(transcribe(ComputeUnit::automatic, recording, options).text, result.text);
    options.seed = 1;
    EXPECT_NE(transcribe(ComputeUnit::automatic, recording, options).text, result.text);
}
