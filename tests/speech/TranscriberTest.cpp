#include "speech/Transcriber.h"
#include "base/Files.h"
#include "settings/Keychain.h"
#include "support/FakeHttpClient.h"
#include "support/FakeSecureStore.h"
#include "support/VirtualTime.h"

#include <cstdlib>
#include <deque>
#include <fstream>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

namespace {

LocalTranscriber readyEngine(const std::string& text, Clock& clock) {
    whisper::TranscriptionResult result;
    result.segments.emplace_back();
    result.segments.back().text = text;
    return {
        "small", std::filesystem::temp_directory_path(),
        [result](auto&&...) -> LocalTranscriber::Engine { return [result](auto&&...) { return std::vector{result}; }; },
        clock};
}

class TranscriberTest : public ::testing::Test {
protected:
    TranscriberTest() {
        std::ofstream(clip) << "clip";
        answer(R"({"text": "from the cloud."})");
    }
    ~TranscriberTest() override {
        for (const char* name : {"GROQ_API_KEY", "DEEPGRAM_API_KEY", "XAI_API_KEY"})
            ::unsetenv(name);
    }

    void answer(const std::string& body) {
        http.onSend = [body](const HttpRequest&) { return HttpResponse{200, {}, body}; };
    }

    template <typename Change>
    void configure(Change change) {
        config.update(change);
    }

    /// With keys of its own in memory.
    Transcriber make(LocalTranscriber& local) {
        return {config,
                deployment,
                http,
                keys.emplace_back(
                    keychain, [this](auto) { return remote; }, ""),
                local,
                [](auto&&) { return std::vector<std::string>{"stat"}; },
                clock};
    }

    std::string transcribe(const TranscribeRequest& request) { return transcriber.transcribe(request, {}); }

    const std::filesystem::path clip = files::temporaryFile("clip_", ".wav");
    VirtualClock clock;
    Config config{files::temporaryFile("config_", ".json"), clock};
    Deployment deployment{.groqHost = "https://groq.example",
                          .supportAddress = {},
                          .subtitleSiteDomain = "site.example",
                          .deepgramHost = "https://deepgram.example",
                          .xaiHost = "https://xai.example"};
    FakeHttpClient http;
    FakeSecureStore store;
    Keychain keychain{store};
    ServiceKeys::Configuration remote = {{"groq_api_key", "k"}};
    std::deque<ServiceKeys> keys;
    LocalTranscriber noEngine{"small", {}, {}, clock};
    LocalTranscriber engine = readyEngine("thanks for watching", clock);
    Transcriber transcriber = make(noEngine);
};

} // namespace

TEST_F(TranscriberTest, GroqIsTheDefaultAndSettingsReachTheRequest) {
    configure([](Settings& s) {
        s.language = "de";
        s.customVocabulary = {"Fenlo"};
        s.profession = "doctor";
    });
    EXPECT_EQ(transcribe({.audio = clip, .hintText = "before"}), "From the cloud");
    EXPECT_EQ(http.requests.at(0).headers.at(0).second, "Bearer k");
    EXPECT_THAT(http.requests.at(0).body, HasSubstr("name=\"prompt\"\r\n\r\nFenlo, stat. before\r\n"));
    EXPECT_THAT(http.requests.at(0).body, HasSubstr("name=\"language\"\r\n\r\nde\r\n"));
}

TEST_F(TranscriberTest, ClipsGoToTheServiceThatTheUserOrTheBackendChose) {
    struct Case {
        const char* sttEngine;
        const char* provider;
        const char* host;
        const char* variable;
    };
    for (const Case& test : {Case{"stt80", "groq", "https://groq.example", "GROQ_API_KEY"},
                             Case{"stt80", "deepgram", "https://deepgram.example", "DEEPGRAM_API_KEY"},
                             Case{"stt81", "deepgram", "https://xai.example", "XAI_API_KEY"},
                             Case{"stt82", "unheard of", "https://groq.example", "GROQ_API_KEY"}}) {
        configure([&](Settings& s) { s.sttEngine = Choice<SttEngine>(test.sttEngine); });
        remote = {{"transcription_provider", test.provider}};
        Transcriber chosen = make(noEngine);
        chosen.setup({});
        EXPECT_THROW(chosen.transcribe({.audio = clip}, {}), TranscriberError) << "without a key";
        chosen.warmConnection();
        EXPECT_TRUE(http.requests.empty() && http.warmed.empty());

        ::setenv(test.variable, "late", 1);
        answer(R"({"text": "from the cloud.", "results": {"channels": [{"alternatives": [
                   {"transcript": "from the cloud."}]}]}})");
        chosen.warmConnection();
        EXPECT_THAT(std::exchange(http.warmed, {}), ElementsAre(test.host));
        EXPECT_EQ(chosen.transcribe({.audio = clip}, {}), "From the cloud") << "the next take looks for a key again";
        EXPECT_THAT(std::exchange(http.requests, {}).at(0).url, ::testing::StartsWith(test.host));
        EXPECT_EQ(chosen.lastMeta().has_value(), test.variable == std::string("DEEPGRAM_API_KEY"));
        ::unsetenv(test.variable);
    }
}

TEST_F(TranscriberTest, LookingForTheDeepgramKeyRefreshesTheProvider) {
    remote = {{"transcription_provider", "deepgram"}};
    transcriber.setup({});
    remote = {{"transcription_provider", "groq-2"}, {"groq_api_key", "k"}};
    EXPECT_THROW(transcribe({.audio = clip}), TranscriberError) << "the clip still went to Deepgram";
    transcribe({.audio = clip});
    EXPECT_THAT(http.requests.at(0).url, ::testing::StartsWith("https://groq.example"));
}

TEST_F(TranscriberTest, OfflineModeUsesTheEngineOrFallsBackToTheCloud) {
    configure([](Settings& s) { s.offlineMode = true; });
    transcriber.setup({});
    transcriber.warmConnection();
    EXPECT_EQ(http.warmed.size(), 1u) << "without an engine the cloud will be asked";
    EXPECT_EQ(transcribe({.audio = clip}), "From the cloud");

    engine.setup({}, {});
    Transcriber local = make(engine);
    local.setup({});
    local.warmConnection();
    EXPECT_EQ(http.warmed.size(), 1u) << "nothing will go to the cloud";
    EXPECT_EQ(local.transcribe({.audio = clip}, {}), "Thanks for watching");
    EXPECT_EQ(local.transcribe({.audio = clip, .speechRatio = 0.29F}, {}), "");
    EXPECT_EQ(http.requests.size(), 1u);
    configure([](Settings& s) { s.offlineMode = false; });
    EXPECT_EQ(local.transcribe({.audio = clip}, {}), "From the cloud");
}

TEST_F(TranscriberTest, InventedTextIsRejectedAndTheRestTidied) {
    answer(R"({"text": "rm\u001b[31m -rf\u0007 it"})");
    EXPECT_EQ(transcribe({.audio = clip}), "Rm -rf it") << "no control character gets through";
    answer(R"({"text": "Thank you."})");
    EXPECT_EQ(transcribe({.audio = clip, .speechRatio = 0.129F}), "");
    EXPECT_EQ(transcribe({.audio = clip}), "Thank you");

    answer(R"({"text": "Get status."})");
    EXPECT_EQ(transcribe({.audio = clip, .appName = "org.gnome.Terminal"}), "git status");
    answer(R"({"text": "hello."})");
    configure([](Settings& s) { s.autoCapitalize = false; });
    EXPECT_EQ(transcribe({.audio = clip, .appName = "mail"}), "hello");
}

TEST_F(TranscriberTest, ConfidenceIsThatOfTheLastClip) {
    EXPECT_FALSE(transcriber.lastMeta());
    answer(R"({"segments": [{"text": "maybe", "avg_logprob": -0.75}]})");
    transcribe({.audio = clip});
    ASSERT_TRUE(transcriber.lastMeta());
    EXPECT_EQ(transcriber.lastMeta()->avgConfidence, -0.75);
    EXPECT_THAT(transcriber.lastMeta()->lowConfidenceRanges, ElementsAre("maybe"));

    http.onSend = [](const HttpRequest&) -> HttpResponse { throw HttpError(HttpError::Kind::connection, "gone"); };
    EXPECT_THROW(transcribe({.audio = clip}), HttpError);
    EXPECT_FALSE(transcriber.lastMeta()) << "a failed clip must not keep the confidence of the one before";
}

TEST_F(TranscriberTest, DeliveredTextsAreNotedAndTheirTermsCounted) {
    configure([](Settings& s) {
        s.customVocabulary = {"Fenlo", "EKG"};
        s.professionVocabulary = {"stat", "FENLO"};
    });
    for (const char* text : {"one fenlo fenlo", "two\nSTAT", "three", "four fenlo."})
        transcriber.recordTranscription(text);
    EXPECT_THAT(transcriber.recentTranscriptions(), ElementsAre("two\nSTAT", "three", "four fenlo."));
    EXPECT_THAT(transcriber.termFrequency(), UnorderedElementsAre(Pair("Fenlo", 1), Pair("FENLO", 1), Pair("stat", 1)));
}

class UploadAhead : public TranscriberTest {
protected:
    UploadAhead() {
        configure([](Settings& s) { s.uploadWhileSpeaking = true; });
        transcriber.setup({});
        transcriber.beginTake();
    }
    std::string ahead(const TranscribeRequest& chunk) { return transcriber.recogniseAhead(chunk, stop); }
    void expectNothingGoesAhead(Transcriber& asked) {
        EXPECT_ANY_THROW(asked.recogniseAhead({.audio = clip}, stop));
        EXPECT_TRUE(http.requests.empty());
    }

    std::stop_source stop;
};

TEST_F(UploadAhead, TheAnswerCountsForTheSameChunkWithTheSameWordsBeforeIt) {
    EXPECT_EQ(ahead({.audio = clip, .hintText = "before"}), "From the cloud");
    transcriber.endTake();
    answer(R"({"text": "once more"})");
    const TranscribeRequest same{.audio = clip, .hintText = "before", .speechRatio = 0.5F, .clipDuration = 300};
    EXPECT_EQ(transcribe(same), "From the cloud");
    EXPECT_EQ(http.requests.size(), 1u);

    EXPECT_EQ(transcribe({.audio = clip}), "Once more") << "other words before it";
    configure([](Settings& s) { s.language = "de"; });
    EXPECT_EQ(transcribe(same), "Once more");
    configure([](Settings& s) { s.language = "auto", s.customVocabulary = {"Fenlo"}; });
    EXPECT_EQ(transcribe(same), "Once more");
    configure([](Settings& s) { s.customVocabulary.clear(); });
    EXPECT_EQ(transcribe(same), "From the cloud");
    std::ofstream(clip, std::ios::app) << "!";
    EXPECT_EQ(transcribe(same), "Once more") << "another sound";
    EXPECT_EQ(http.requests.size(), 5u);
    transcriber.forgetTake();
    std::ofstream(clip) << "clip";
    EXPECT_EQ(transcribe(same), "Once more");
}

TEST_F(UploadAhead, WhatFailedOrFoundTheServiceInventingIsJudgedWhenTheTakeHasEnded) {
    http.onSend = [](const HttpRequest&) -> HttpResponse { throw HttpError(HttpError::Kind::connection, "gone"); };
    EXPECT_THROW(ahead({.audio = clip}), HttpError);
    answer(R"({"segments": [{"text": "Thank you.", "avg_logprob": -0.75}]})");
    EXPECT_EQ(transcribe({.audio = clip}), "Thank you") << "it is sent again";
    EXPECT_EQ(ahead({.audio = clip}), "Thank you");
    EXPECT_EQ(http.requests.size(), 3u);
    transcriber.endTake();
    EXPECT_EQ(transcribe({.audio = clip, .speechRatio = 0.1F}), "");
    EXPECT_EQ(transcriber.lastMeta()->lowConfidenceRanges.size(), 1u);
    EXPECT_EQ(http.requests.size(), 3u);
    EXPECT_THROW(ahead({.audio = clip, .hintText = "new"}), HttpError) << "nothing is begun after the end";
    EXPECT_EQ(http.requests.size(), 3u);
}

TEST_F(UploadAhead, NothingLeavesWithoutTheUsersWordOrWhereTheTakeMayStayHere) {
    EXPECT_EQ(transcriber.earlyReach(), EarlyReach::chunks);
    for (const auto& change : std::initializer_list<std::function<void(Settings&)>>{
             [](Settings& s) { s.uploadWhileSpeaking = false; }, [](Settings& s) { s.offlineMode = true; },
             [](Settings& s) { s.voiceIsolation = true; }}) {
        configure([&](Settings& s) { s.uploadWhileSpeaking = true, s.offlineMode = s.voiceIsolation = false; });
        configure(change);
        EXPECT_EQ(transcriber.earlyReach(), EarlyReach::nothing);
        expectNothingGoesAhead(transcriber);
    }
    configure([](Settings& s) { s.voiceIsolation = false; });
    Transcriber withoutKey = make(noEngine);
    withoutKey.beginTake();
    EXPECT_EQ(withoutKey.earlyReach(), EarlyReach::chunks);
    expectNothingGoesAhead(withoutKey);
    stop.request_stop();
    expectNothingGoesAhead(transcriber);
}
