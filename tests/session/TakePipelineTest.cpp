#include "session/TakePipeline.h"
#include "base/Files.h"
#include "settings/Config.h"
#include "support/NeutralSteps.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

class Pipeline : public ::testing::Test {
protected:
    Pipeline() {
        steps.transcribe = [this](const TranscribeRequest& request, std::stop_token) {
            requests.push_back(request);
            if (requests.size() > transcripts.size())
                throw TranscriberError(TranscriberError::Kind::noAPIKey, "no key");
            return transcripts[requests.size() - 1];
        };
        steps.recordTranscription = [this](const std::string& text) { recorded.push_back(text); };
        listener.isCancelled = [this] { return cancelled; };
        listener.onChunk = [this](int index, int total) {
            progress.push_back(std::to_string(index) + "/" + std::to_string(total));
        };
        listener.situation = [this] { return situation; };
        situation.context.emplace();
        situation.context->appBundleId = "org.xfce.mousepad";
    }

    TakeOutcome run(std::vector<std::string> chunkTranscripts, std::size_t chunks = 0) {
        transcripts = std::move(chunkTranscripts);
        requests.clear();
        take = {};
        for (std::size_t i = 0; i < std::max(chunks, transcripts.size()); ++i) {
            take.chunks.push_back(files::temporaryFile("chunk", ".wav"));
            EXPECT_TRUE(files::writeAtomically(take.chunks.back(), "samples"));
        }
        take.duration = 4.2;
        take.speechRatio = 0.6f;
        return TakePipeline(config, steps).run(take, listener, {});
    }
    outcome::Dictation dictate(const std::string& transcript) {
        return std::get<outcome::Dictation>(run({transcript}));
    }
    bool allChunksDeleted() const {
        return std::none_of(take.chunks.begin(), take.chunks.end(),
                            [](const fs::path& file) { return fs::exists(file); });
    }

    test::VirtualClock clock;
    Config config{fs::temp_directory_path() / files::makeUuid() / "config.json", clock};
    TakeSteps steps = test::neutralSteps();
    TakeListener listener;
    TakeSituation situation;
    Take take;
    std::vector<std::string> transcripts, recorded, progress;
    std::vector<TranscribeRequest> requests;
    bool cancelled = false;
};

} // namespace

TEST_F(Pipeline, JoinsChunksAndCarriesTheLastTextOn) {
    const auto result = std::get<outcome::Dictation>(run({"One.", " \t", "Two."}));
    EXPECT_EQ(result.text, "One. Two.");
    EXPECT_EQ(result.rawText, "One. Two.");
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_FALSE(requests[0].hintText);
    EXPECT_EQ(requests[1].hintText, "One.");
    EXPECT_EQ(requests[2].hintText, "One.") << "an empty result does not replace it";
    EXPECT_EQ(requests[0].appName, "org.xfce.mousepad");
    EXPECT_EQ(requests[2].clipDuration, 4.2);
    EXPECT_EQ(requests[2].speechRatio, 0.6f);
    EXPECT_EQ(progress, (std::vector<std::string>{"1/3", "2/3", "3/3"}));
    EXPECT_EQ(recorded, std::vector<std::string>{"One. Two."});
    EXPECT_TRUE(allChunksDeleted());
}

TEST_F(Pipeline, ASingleChunkShowsNoProgressAndATranscriptOfNewlinesCounts) {
    EXPECT_EQ(dictate("\n").text, "\n");
    EXPECT_TRUE(progress.empty());
    EXPECT_TRUE(std::holds_alternative<outcome::Empty>(run({" \t"})));
}

TEST_F(Pipeline, AFailureKeepsTheWordsSoFarAndTheFilesOfTheRest) {
    Take rest;
    std::vector<TakeFault> faults;
    listener.onProgress = [&](const Take& now) { rest = now; };
    listener.onFault = [&](TakeFault fault) { faults.push_back(fault); };
    EXPECT_TRUE(std::holds_alternative<outcome::Failed>(run({"One."}, 3)));
    EXPECT_EQ(requests.size(), 2u);
    EXPECT_EQ(faults, std::vector{TakeFault::keyMissing});
    EXPECT_TRUE(recorded.empty());
    EXPECT_FALSE(fs::exists(take.chunks[0]));
    EXPECT_EQ(rest.chunks, (std::vector{take.chunks[1], take.chunks[2]}));
    EXPECT_TRUE(fs::exists(rest.chunks[1]));

    transcripts = {"", "", "Two.", "Three."};
    const auto again = TakePipeline(config, steps).run(rest, listener, {});
    EXPECT_EQ(std::get<outcome::Dictation>(again).text, "One. Two. Three.");
}

TEST_F(Pipeline, TheEngineOnThisMachineTakesOverWhereTheServiceFails) {
    std::string heard = "heard";
    steps.rescue = [&](auto&&...) { return std::optional(heard); };
    EXPECT_EQ(std::get<outcome::Dictation>(run({"One."}, 3)).text, "One. heard heard");
    EXPECT_EQ(requests.size(), 2u) << "a service that failed is not asked for the rest";
    EXPECT_TRUE(allChunksDeleted());
    heard = " ";
    EXPECT_TRUE(std::holds_alternative<outcome::Failed>(run({}, 1))) << "no words are no rescue";
    steps.rescue = [&](auto&&...) -> std::optional<std::string> { throw 1; };
    EXPECT_TRUE(std::holds_alternative<outcome::Failed>(run({}, 1)));
    steps.rescue = [&](auto&&...) {
        ADD_FAILURE() << "a cancelled take";
        return std::nullopt;
    };
    steps.transcribe = [&](auto&&...) -> std::string {
        cancelled = true;
        throw std::bad_alloc();
    };
    EXPECT_TRUE(std::holds_alternative<outcome::Cancelled>(run({}, 1)));
}

TEST_F(Pipeline, AStepThatThrowsEndsTheTakeUnlessTheWordsAreKnown) {
    steps.processVoiceCommands = [](auto&&...) -> VoiceCommandResult { throw 1; };
    const auto spoken = dictate("as spoken");
    EXPECT_EQ(spoken.text, "as spoken");
    EXPECT_TRUE(spoken.rewriteRequested && spoken.rewriteFailed) << "the user hears that a step failed";
    steps.isolateVoice = [](auto&&) -> fs::path { throw std::runtime_error("no voice"); };
    EXPECT_TRUE(std::holds_alternative<outcome::Failed>(run({"One."})));
    EXPECT_TRUE(fs::exists(take.chunks[0]));
}

TEST_F(Pipeline, ACancelIsSeenBeforeEachChunkAndAfterTheLast) {
    const auto transcribe = steps.transcribe;
    for (const std::size_t cancelAt : {1u, 2u}) {
        cancelled = false;
        steps.transcribe = [&](const TranscribeRequest& request, std::stop_token stop) {
            cancelled = requests.size() + 1 == cancelAt;
            return transcribe(request, stop);
        };
        EXPECT_TRUE(std::holds_alternative<outcome::Cancelled>(run({"One.", "Two."})));
        EXPECT_EQ(requests.size(), cancelAt);
    }

    steps.transcribe = transcribe;
    cancelled = false;
    steps.rewrite = [&](const std::string& text, auto&&...) {
        cancelled = true; // too late: the words are known
        return Rewrite{text, true};
    };
    EXPECT_TRUE(std::holds_alternative<outcome::Dictation>(run({"One."})));
}

TEST_F(Pipeline, IsolatedVoiceIsTranscribedAndDeleted) {
    fs::path isolated;
    steps.isolateVoice = [&](const fs::path&) {
        isolated = files::temporaryFile("isolated", ".wav");
        EXPECT_TRUE(files::writeAtomically(isolated, "voice"));
        return isolated;
    };
    run({"One."});
    EXPECT_EQ(requests.at(0).audio, isolated);
    EXPECT_FALSE(fs::exists(isolated));
    EXPECT_TRUE(std::holds_alternative<outcome::Failed>(run({}, 1)));
    EXPECT_FALSE(fs::exists(isolated));
}

TEST_F(Pipeline, CorrectionsComeFirstWithinFiveSecondsOfAPaste) {
    situation.lastText = "We meet in London";
    situation.isCommandMode = true;
    EXPECT_FALSE(std::holds_alternative<outcome::Correction>(run({"I meant Paris"}))) << "no paste yet";
    situation.secondsSincePaste = 5.0;
    EXPECT_FALSE(std::holds_alternative<outcome::Correction>(run({"I meant Paris"})));
    situation.secondsSincePaste = 4.9;
    EXPECT_EQ(std::get<outcome::Correction>(run({"I meant Paris."})).correction, "Paris");
    EXPECT_EQ(config.get().professionVocabulary, std::vector<std::string>{"Paris"});
    situation.isCommandMode = false;
    EXPECT_EQ(dictate("no i meant").text, "no i meant");
}

TEST_F(Pipeline, CommandsNeedAContextAndFallBackToTheRawText) {
    situation.isCommandMode = true;
    situation.context->selectedText = "old";
    steps.matchSnippet = [](const std::string&) { return "snippet"; };
    EXPECT_EQ(std::get<outcome::CommandFailed>(run({"make it formal"})).rawText, "make it formal");

    steps.runAICommand = [](const std::string& instruction, const FocusContext& context, std::stop_token) {
        return instruction + ": " + context.selectedText;
    };
    EXPECT_EQ(std::get<outcome::CommandAnswer>(run({"make it formal"})).answer, "make it formal: old");
    situation.context.reset();
    EXPECT_EQ(std::get<outcome::Snippet>(run({"make it formal"})).expansion, "snippet");
}

TEST_F(Pipeline, VoiceCommandsRunBeforeTheRewriteButNotForTranslations) {
    steps.processVoiceCommands = [](const std::string& text, const std::string& app) {
        return VoiceCommandResult{text + "@" + app, {"select_all"}};
    };
    auto result = dictate("hello");
    EXPECT_EQ(result.text, "hello@org.xfce.mousepad");
    EXPECT_EQ(result.actions, std::vector<std::string>{"select_all"});
    for (const OutputMode mode : {OutputMode::translate, OutputMode::transliterate}) {
        config.update([&](Settings& s) { s.outputMode = mode; });
        result = dictate("hello");
        EXPECT_EQ(result.text, "hello");
        EXPECT_TRUE(result.actions.empty());
    }
    config.update([](Settings& s) { s.outputMode = OutputMode::transcribe, s.voiceCommands = false; });
    EXPECT_EQ(dictate("hello").text, "hello");
}

TEST_F(Pipeline, RewritesOnlyWhatHasLatinLettersAndAContext) {
    int calls = 0;
    std::string language;
    steps.lastMeta = [] { return TranscriptionMeta{-0.6, {"helo"}}; };
    steps.rewrite = [&](const std::string&, const FocusContext&, const std::string& code,
                        const std::vector<std::string>& uncertain, std::stop_token) {
        ++calls;
        language = code;
        return Rewrite{"Fenlo " + uncertain.at(0), true};
    };
    config.update([](Settings& s) { s.language = "de"; });
    auto result = dictate("helo");
    EXPECT_EQ(result.text, "Fenlo helo");
    EXPECT_EQ(result.rawText, "helo");
    EXPECT_FALSE(result.rewriteFailed);
    EXPECT_EQ(language, "de");
    EXPECT_EQ(recorded.back(), "Fenlo helo");
    EXPECT_EQ(config.get().professionVocabulary, std::vector<std::string>{"Fenlo"});

    result = dictate("東京で会う");
    EXPECT_FALSE(result.wasRewritten);
    EXPECT_TRUE(result.rewriteRequested);
    EXPECT_FALSE(result.rewriteFailed);
    config.update([](Settings& s) { s.smartRewrite = false; });
    EXPECT_FALSE(dictate("helo").rewriteRequested);
    config.update([](Settings& s) { s.outputMode = OutputMode::transliterate; });
    dictate("helo");
    EXPECT_EQ(language, "en");
    EXPECT_EQ(calls, 2);
    situation.context.reset();
    EXPECT_EQ(dictate("helo").text, "helo");
    EXPECT_EQ(calls, 2);
}

TEST_F(Pipeline, NoControlCharacterOfAnAnswerGoesOn) {
    steps.rewrite = [](auto&&...) { return Rewrite{"list\x1b[201~ files", true}; };
    const auto rewritten = dictate("ls");
    EXPECT_EQ(rewritten.text, "list files");
    EXPECT_TRUE(rewritten.wasRewritten);
    situation.isCommandMode = true;
    steps.runAICommand = [](auto&&...) { return "rm\x07\r"; };
    EXPECT_EQ(std::get<outcome::CommandAnswer>(run({"remove"})).answer, "rm\n");
}

TEST_F(Pipeline, AFailedRewriteKeepsTheTextAndTeachesNothing) {
    steps.rewrite = [](const std::string& text, auto&&...) { return Rewrite{text, false}; };
    const auto result = dictate("Hello Grafana");
    EXPECT_EQ(result.text, "Hello Grafana");
    EXPECT_TRUE(result.rewriteFailed);
    EXPECT_TRUE(config.get().professionVocabulary.empty());
}
