// The lines that recognition writes to the log.

#include "base/Files.h"
#include "settings/Keychain.h"
#include "speech/DeepgramProvider.h"
#include "speech/GrokProvider.h"
#include "speech/GroqProvider.h"
#include "speech/RepeatedPhrases.h"
#include "speech/Transcriber.h"
#include "support/FakeHttpClient.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <fstream>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;

namespace {

class SpeechLines : public ::testing::Test {
protected:
    SpeechLines() {
        std::ofstream(clip) << std::string(3000, 'x');
        answer(R"({"text": "Thank you."})");
    }
    void answer(const std::string& body) {
        http.onSend = [this, body](const HttpRequest&) {
            clock.advance(0.416);
            return HttpResponse{200, {}, body};
        };
    }

    const std::filesystem::path clip = files::temporaryFile("clip_", ".wav");
    FakeHttpClient http;
    VirtualClock clock;
    const LogCapture log;
};

LocalTranscriber::Engine engineOf(VirtualClock& clock) {
    whisper::TranscriptionResult result;
    result.segments.resize(3);
    result.segments[0].text = " mumble";
    result.segments[0].avgLogprob = -1.51f;
    result.segments[1].speechWithoutText = true;
    result.segments[1].start = 1.25f;
    result.segments[1].end = 2;
    result.segments[2].text = "bye";
    return [result, &clock](auto&&...) {
        clock.advance(1.25);
        return std::vector{result};
    };
}

} // namespace

TEST_F(SpeechLines, OfTheServices) {
    const ServiceAccess access{http, clock, "https://speech.example", "secret"};
    const TranscribeRequest request{.audio = clip, .appName = "kitty"};
    grok::transcribe(access, request, "auto", {});
    http.onSend = [](const HttpRequest&) { return HttpResponse{401, {}, "bad secret"}; };
    EXPECT_THROW(grok::transcribe(access, request, "auto", {}), TranscriberError);
    EXPECT_THROW(deepgram::transcribe(access, {.audio = clip}, "auto", {}, {}), TranscriberError);
    for (const char* line :
         {"Uploading 2KB to xAI Grok (dev mode)…", "Grok responded in 0.42s (status 200)", "Uploading 2KB to Deepgram…",
          "Deepgram responded in 0.00s (status 401)", "ERROR: Deepgram API error 401: bad <key>"})
        EXPECT_TRUE(log.contains("[Fenlo] " + std::string(line))) << line;
    EXPECT_FALSE(log.containsPrefix("[Fenlo] ERROR: Grok")) << "its error is in the caller's line only";
}

TEST_F(SpeechLines, OfTheReplies) {
    groq::parseReply(R"({"segments": [{"text": "a", "no_speech_prob": 0.8, "avg_logprob": -2},
                                      {"text": "b", "no_speech_prob": 0, "avg_logprob": -1.234}]})",
                     10);
    collapseRepeats("well I think that I think that I think that yes");
    EXPECT_THAT(log.lines(),
                ElementsAre("[Fenlo] Skipping low-confidence segment (no_speech=0.80, threshold=0.70): 'a'",
                            "[Fenlo] Skipping low-logprob segment (avg_logprob=-1.23, threshold=-1.00): 'b'",
                            "[Fenlo] Dedup: removed 2 repeats of 'I think that'"));
}

TEST_F(SpeechLines, OfTheChoiceBetweenServiceAndEngine) {
    Config config(files::temporaryFile("config_", ".json"), clock);
    config.update([](Settings& settings) { settings.offlineMode = true; });
    const Deployment deployment{.groqHost = {}, .supportAddress = {}, .subtitleSiteDomain = "site.example"};
    FakeSecureStore store;
    Keychain keychain(store);
    bool fails = true;
    LocalTranscriber local(
        "small", std::filesystem::temp_directory_path(),
        [&](auto&&...) { return fails ? throw std::runtime_error("no network") : engineOf(clock); }, clock);
    ServiceKeys keys(
        keychain,
        [](auto) {
            return ServiceKeys::Configuration{{"groq_api_key", "k"}};
        },
        "");
    Transcriber transcriber(config, deployment, http, keys, local, {}, clock);
    transcriber.setup({});
    transcriber.transcribe({.audio = clip, .speechRatio = 0.129F}, {});
    local.setup({}, {});
    fails = false;
    local.setup({}, {});
    transcriber.transcribe({.audio = clip, .speechRatio = 0.29F}, {});
    for (const char* line :
         {"Transcriber ready (provider: groq)", "Offline mode enabled but model not ready yet — falling back to cloud",
          "Filtered hallucination: 'Thank you.' (speech ratio: 12%)", "LocalTranscriber: Setting up...",
          "ERROR: LocalTranscriber setup failed: no network", "LocalTranscriber: Ready (small)",
          "LocalTranscriber: Dropped segment (avgLogprob=-1.51): ' mumble'",
          "LocalTranscriber: No words found for the speech from 1.25 to 2.00s", "LocalTranscriber: 1.25s — 'bye'",
          "Filtered hallucination (local): 'bye' (speech ratio: 29%)"})
        EXPECT_TRUE(log.contains("[Fenlo] " + std::string(line))) << line;
}
