#include "WhisperEngine/TranscribeTask.h"
#include "ScriptedModels.h"
#include "WhisperEngine/AudioProcessor/AudioProcessor.h"
#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"
#include "WhisperEngine/WhisperError.h"
#include "support/VirtualTime.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::whisper;
using namespace fenlo::whisper::test;

namespace {

constexpr int windowSamples = 480000;

/// Notes the windows it is given.
class NotingMel final : public MelSpectrogramModel {
public:
    int windowSamples() const override { return ::windowSamples; }
    int melBands() const override { return 80; }
    int melFrames() const override { return 3000; }
    void predict(std::span<const float> audio, std::span<float>) const override {
        // Each sample of the test's audio is its own number, so that the first one tells where the window begins.
        firstSamples.push_back(audio.front());
        soundingSamples.push_back(std::ranges::count_if(audio, [](float sample) { return sample != 0; }));
    }
    mutable std::vector<float> firstSamples;
    mutable std::vector<std::ptrdiff_t> soundingSamples;
};

class IdleEncoder final : public AudioEncoderModel {
public:
    int melBands() const override { return 80; }
    int melFrames() const override { return 3000; }
    int audioFrames() const override { return 1500; }
    int width() const override { return 2; }
    void predict(std::span<const float>, AudioEmbeddings& output) const override {
        output.encoder_output_embeds.assign(3000, 0.0f);
    }
};

class Task : public testing::Test {
protected:
    Task() { options.skipSpecialTokens = true; }

    TranscriptionResult run(double seconds, std::vector<ScriptedPass> passes) {
        model = std::make_shared<ScriptedDecoder>(std::move(passes), logits);
        const int prompt = (logits == 51864 ? 1 : 3) + (options.withoutTimestamps ? 1 : 0);
        model->promptLength = prompt;
        const Logging logging(LogLevel::debug, [this](const std::string& line) { lines.push_back(line); });
        const TextDecoder decoder(model, nullptr, sharedTokenizer(), {}, clock, logging);
        std::vector<float> audio(static_cast<std::size_t>(seconds * 16000));
        for (std::size_t i = 0; i < audio.size(); ++i)
            audio[i] = static_cast<float>(i + 1);
        for (const auto& [from, to] : silences)
            std::fill(audio.begin() + from * 16000,
                      audio.begin() + std::min<std::ptrdiff_t>(to * 16000, std::ssize(audio)), 0.0f);
        TranscribeTask task(
            {mel, encoder, decoder, processor, seeker, tokenizer(), clock, logging, &detector},
            [this](const auto& segments) { discovered.push_back(textOf(segments)); },
            [this](double fraction) { fractions.push_back(fraction); });
        task.askFirst(answer);
        return task.run(audio, options, callback, {});
    }

    int countOf(const std::string& line) const { return static_cast<int>(std::ranges::count(lines, line)); }

    fenlo::test::VirtualClock clock;
    std::vector<std::pair<int, int>> silences; // seconds
    const EnergyVAD detector;
    int logits = 51864;
    DecodingOptions options;
    TranscriptionCallback callback;
    WindowAnswer answer;
    std::shared_ptr<ScriptedDecoder> model;
    NotingMel mel;
    IdleEncoder encoder;
    AudioProcessor processor;
    SegmentSeeker seeker;
    std::vector<std::string> lines, discovered;
    std::vector<double> fractions;
};

} // namespace

TEST_F(Task, WalksFromTheLastTimestampOn) {
    // Speech goes on from the last time.
    const auto first = tokens(at(0), " New line.", at(4), at(4), " Select all.", at(10), at(10), " and");
    const TranscriptionResult result = run(45, {{.tokens = first}, {.tokens = tokens(at(0), " Copy that.", at(5))}});
    ASSERT_EQ(result.segments.size(), 4u) << "the last window repeats the script";
    EXPECT_EQ(result.text, " New line. Select all. Copy that. Copy that.");
    EXPECT_EQ(mel.firstSamples, (std::vector<float>{1, 10 * 16000 + 1, 40 * 16000 + 1}));
    EXPECT_FLOAT_EQ(result.segments[2].start, 10);
    EXPECT_FLOAT_EQ(result.segments[2].end, 15);
    EXPECT_EQ(result.segments[2].id, 2);
    EXPECT_EQ(discovered.front(), " New line. Select all.");
    EXPECT_TRUE(std::ranges::is_sorted(fractions));
    EXPECT_EQ(fractions.back(), 1);
    EXPECT_EQ(result.timings.totalDecodingWindows, 3);
}

TEST_F(Task, TriesHigherTemperaturesUntilAResultStands) {
    const ScriptedPass bad{.tokens = {at(0), 262, 262, 262}, .confidence = 9.6f}; // about -1.3 a token
    run(5, {bad, bad, {.tokens = tokens(at(0), " New line.", at(2))}});
    EXPECT_EQ(model->fedTokens.size(), 3u);
    EXPECT_EQ(countOf("Fallback #1 (logProbThreshold)"), 1);
    EXPECT_EQ(countOf("Fallback #2 (logProbThreshold)"), 1);
    EXPECT_EQ(countOf("Decoding with temperatures [0.0000, 0.2000, 0.3999, 0.6001, 0.7998, 1.0000]"), 1);

    options.temperatureFallbackCount = 0;
    const TranscriptionResult result = run(5, {bad});
    EXPECT_EQ(model->fedTokens.size(), 1u) << "a count of 0 allows one pass";
    EXPECT_EQ(result.segments.size(), 1u) << "the last result stands";
}

TEST_F(Task, RepetitionIsARetryAndSilenceIsNot) {
    std::vector<int> loop{at(0)};
    for (int i = 0; i < 50; ++i)
        std::ranges::copy(tokenizer().encode(" thank you"), std::back_inserter(loop));
    run(5, {{.tokens = loop}, {.tokens = tokens(at(0), " New line.", at(2))}});
    EXPECT_EQ(countOf("Fallback #1 (compressionRatioThreshold)"), 1);

    lines.clear();
    const ScriptedPass silent{.tokens = {at(0), 262, 262}, .confidence = 9.6f, .noSpeechScore = 30};
    const TranscriptionResult result = run(40, {silent});
    EXPECT_TRUE(result.segments.empty());
    EXPECT_EQ(model->fedTokens.size(), 2u) << "one pass a window";
    EXPECT_EQ(result.timings.totalDecodingFallbacks, 0);

    options.noSpeechThreshold.reset();
    run(5, {silent});
    EXPECT_EQ(countOf("Fallback #1 (logProbThreshold)"), 1) << "without a threshold nothing is silence";
}

TEST_F(Task, DecodesClipsAndLeavesOutAShortRest) {
    options.clipTimestamps = {1, 3, 8};
    const auto segment = tokens(at(0), " New line.", at(2));
    const TranscriptionResult result = run(10, {{.tokens = segment}});
    EXPECT_EQ(mel.firstSamples, (std::vector<float>{16001, 8 * 16000 + 1})) << "an odd count runs to the end";
    EXPECT_EQ(mel.soundingSamples, (std::vector<std::ptrdiff_t>{32000, 32000})) << "nothing from after the clip";
    EXPECT_FLOAT_EQ(result.segments.front().start, 1);

    mel = {};
    options.clipTimestamps.clear();
    run(30.9, {{.tokens = segment}});
    EXPECT_EQ(mel.firstSamples.size(), 1u) << "under a second is left after the first window";
    mel = {};
    run(0.4, {{.tokens = segment}});
    EXPECT_EQ(mel.firstSamples.size(), 1u) << "a take that is short from the start is decoded";
    mel = {};
    options.maxWindowSeek = 480000;
    run(100, {{.tokens = segment}});
    EXPECT_EQ(mel.firstSamples.size(), 1u);
}

TEST_F(Task, LosesNoSpeech_AnUnsureFirstTokenIsNoReasonForNoText) {
    const ScriptedPass unsure{.tokens = tokens(at(0), " New line.", at(2)),
                              .confidence = 12}; // about -0.01 the first token
    options.logProbThreshold.reset();
    options.firstTokenLogProbThreshold = -0.001f;
    EXPECT_EQ(run(2.5, {unsure}).text, "") << "all passes fail";
    options.losesNoSpeech = true;
    EXPECT_EQ(run(2.5, {unsure}).text, " New line.");
}

TEST_F(Task, LosesNoSpeech_DecodesTheRestThatSounds) {
    options.losesNoSpeech = true;
    options.noSpeechThreshold.reset(); // no other window is added
    const ScriptedPass pass{.tokens = tokens(at(0), " New line.", at(29))};
    run(30.9, {pass});
    EXPECT_EQ(mel.firstSamples, (std::vector<float>{1, 30 * 16000 + 1}));
    silences = {{30, 31}};
    run(30.9, {pass});
    EXPECT_EQ(mel.firstSamples.size(), 3u) << "silence is left out";
    options.noSpeechThreshold = 0.6f;
    silences = {{0, 1}};
    mel = {};
    run(30.9, {pass});
    EXPECT_EQ(mel.firstSamples.back(), 29 * 16000 + 1) << "the word at the cut is heard whole";
}

TEST_F(Task, LosesNoSpeech_SaysWhereSpeechHasNoText) {
    options.losesNoSpeech = true;
    silences = {{0, 2}, {4, 30}};
    const ScriptedPass silent{.tokens = {at(0), 262, 262}, .confidence = 9.6f, .noSpeechScore = 30};
    const TranscriptionResult heard = run(30, {silent, {.tokens = tokens(at(0), " New line.", at(4))}});
    EXPECT_EQ(heard.text, " New line.") << "decoded once more";
    EXPECT_FALSE(heard.segments.at(0).speechWithoutText);

    const TranscriptionResult unheard = run(30, {{.tokens = {}}});
    ASSERT_EQ(unheard.segments.size(), 1u);
    EXPECT_TRUE(unheard.segments[0].speechWithoutText);
    EXPECT_FLOAT_EQ(unheard.segments[0].start, 2);
    EXPECT_FLOAT_EQ(unheard.segments[0].end, 4);
    EXPECT_EQ(countOf("No words found for the speech from 2.00s to 4.00s"), 1);
    silences = {{0, 30}};
    EXPECT_TRUE(run(30, {{.tokens = {}}}).segments.empty()) << "silence gives no such segment";
}

TEST_F(Task, LosesNoSpeech_GoesBackToSpeechThatAWindowPassedOver) {
    options.losesNoSpeech = true;
    silences = {{0, 1}, {10, 28}};
    const TranscriptionResult result =
        run(28, {{.tokens = tokens(at(1), " New line.", at(4))}, {.tokens = tokens(at(0), " Copy that.", at(6))}});
    EXPECT_EQ(result.text, " New line. Copy that.");
    EXPECT_EQ(mel.firstSamples, (std::vector<float>{0, 4 * 16000 + 1}));
}

TEST_F(Task, LosesNoSpeech_PutsSilenceBeforeAClipThatBeginsAtOnce) {
    options.losesNoSpeech = true;
    const TranscriptionResult result = run(5, {{.tokens = tokens(at(0), " New line.", at(5))}});
    EXPECT_EQ(mel.firstSamples, (std::vector<float>{0}));
    EXPECT_EQ(mel.soundingSamples, (std::vector<std::ptrdiff_t>{5 * 16000}));
    EXPECT_EQ(result.segments.at(0).start, 0);
    EXPECT_EQ(result.segments.at(0).seek, 0);
}

TEST_F(Task, NoAudioIsAnError) {
    EXPECT_THROW(run(0, {{}}), WhisperError);
}

TEST_F(Task, ALanguageNobodyNamedIsDetectedOnce) {
    logits = 51865;
    const int german = tokenizer().languageToken("de").value();
    const auto detected = [&](std::vector<ScriptedPass> passes) { return run(5, std::move(passes)).language; };
    // The detection is a pass of its own, at the start of the transcript.
    const ScriptedPass text{.tokens = tokens(at(0), " New line.", at(2))};
    EXPECT_EQ(detected({text}).size(), 2u);
    EXPECT_EQ(model->fedTokens.size(), 2u);
    options.language = "German";
    EXPECT_EQ(detected({text}), "de");
    EXPECT_EQ(model->fedTokens.size(), 1u);
    EXPECT_EQ(model->fedTokens.front()[1], german);
    options.language.reset();
    options.detectLanguage = false;
    EXPECT_EQ(detected({text}), "en");
}

TEST_F(Task, AWindowWhoseResultIsKnownIsNotEncoded) {
    const std::vector<ScriptedPass> script{{.tokens = tokens(at(0), " New line.", at(4))},
                                           {.tokens = tokens(at(0), " Copy that.", at(5))}};
    std::vector<float> asked; // the first sample of each window
    std::vector<DecodingResult> results;
    answer = [&](const WindowQuestion& window, const std::function<DecodingResult()>& decode) {
        EXPECT_EQ(window.samples.size(), static_cast<std::size_t>(windowSamples));
        EXPECT_FALSE(window.prompt.empty());
        asked.push_back(window.samples.front());
        results.push_back(decode());
        return results.back();
    };
    const TranscriptionResult anew = run(45, script);
    EXPECT_EQ(asked, mel.firstSamples);

    answer = [&, next = std::size_t(0)](const WindowQuestion&, const auto&) mutable { return results.at(next++); };
    const TranscriptionResult taken = run(45, script);
    EXPECT_EQ(mel.firstSamples.size(), asked.size()) << "nothing more was encoded";
    EXPECT_EQ(taken.text, anew.text);
    EXPECT_EQ(taken.segments.back().end, anew.segments.back().end);

    options.wordTimestamps = true;
    run(45, script);
    EXPECT_GT(mel.firstSamples.size(), asked.size()) << "word times need the decoding itself";
}
