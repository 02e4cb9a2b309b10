// The whole road of a clip over a real connection: transcriber, HTTP client and a service that may misbehave.

#include "base/Files.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Keychain.h"
#include "speech/Transcriber.h"
#include "support/FakeSecureStore.h"
#include "support/LoopbackServices.h"
#include "support/TlsServer.h"
#include "support/VirtualTime.h"
#include "support/WaitUntil.h"

#include <algorithm>
#include <fstream>
#include <future>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

/// A second of a tone, 16 kHz, 16 bit.
std::string toneWav() {
    constexpr std::uint32_t frames = 16000;
    std::string wav("RIFF\xA4\x7D\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x80\x3E\0\0\0\x7D\0\0\x02\0\x10\0data\x00\x7D\0\0",
                    44);
    for (std::uint32_t i = 0; i < frames; ++i)
        wav += i / 20 % 2 ? std::string("\x00\x20", 2) : std::string("\x00\xE0", 2);
    return wav;
}

std::size_t preparedClips() {
    const auto files = std::filesystem::directory_iterator(std::filesystem::temp_directory_path());
    return static_cast<std::size_t>(std::count_if(begin(files), end(files), [](const auto& entry) {
        return entry.path().filename().string().starts_with("fenlo_pre_");
    }));
}

/// HTTP that gives up sooner than the provider would.
class ImpatientHttp final : public HttpClient {
public:
    HttpResponse send(const HttpRequest& request, std::stop_token stop) override {
        HttpRequest sooner = request;
        sooner.timeout = std::min(request.timeout, patience);
        return m_http.send(sooner, stop);
    }
    void preconnect(const std::string& url) override { m_http.preconnect(url); }

    double patience = 100; // seconds

private:
    CurlHttpClient m_http;
};

struct Provider {
    std::string name;
    std::string provider; // of the stand-in
    std::string Deployment::*host;
    bool preparesClip;
};

const Provider providers[] = {{"Groq", "groq", &Deployment::groqHost, true},
                              {"Deepgram", "deepgram", &Deployment::deepgramHost, false},
                              {"Grok", "grok", &Deployment::xaiHost, true}};

class ProviderWireTest : public ::testing::TestWithParam<Provider> {
protected:
    ProviderWireTest() {
        write(toneWav());
        deployment.*GetParam().host = recogniser.server().url(); // and no other
        config.update([](Settings& settings) {
            settings.sttEngine = GetParam().name == "Grok" ? SttEngine::grok : SttEngine::byProvider;
            settings.language = "de";
        });
        transcriber.setup({});
    }
    ~ProviderWireTest() override {
        EXPECT_EQ(preparedClips(), 0u);
        EXPECT_TRUE(std::filesystem::exists(clip)) << "the clip stays the caller's";
    }

    void write(const std::string& bytes) { std::ofstream(clip, std::ios::binary) << bytes; }

    std::string transcribe(std::stop_token stop = {}) { return transcriber.transcribe({.audio = clip}, stop); }

    /// The kind of the error of the next clip, and its message.
    std::string fault(std::stop_token stop = {}) {
        try {
            return "no error: " + transcribe(stop);
        } catch (const TranscriberError& error) {
            return (error.kind == TranscriberError::Kind::networkError ? "networkError " : "invalidResponse ") +
                   std::string(error.what());
        } catch (const HttpError& error) {
            const char* kinds[] = {"connection ", "timeout ", "tls ", "cancelled ", "tooLarge ", "badUrl "};
            return kinds[static_cast<int>(error.kind)] + std::string(error.what());
        }
    }

    const std::filesystem::path clip = files::temporaryFile("clip_", ".wav");
    LoopbackServices recogniser;
    VirtualClock clock;
    Config config{files::temporaryFile("config_", ".json"), clock};
    Deployment deployment{.groqHost = {}, .supportAddress = {}, .subtitleSiteDomain = "site.example"};
    ImpatientHttp http;
    FakeSecureStore store;
    Keychain keychain{store};
    LocalTranscriber noEngine{"small", {}, {}, clock};
    ServiceKeys keys{keychain,
                     [](auto) {
                         return ServiceKeys::Configuration{{"transcription_provider", GetParam().provider},
                                                           {"groq_api_key", "g"},
                                                           {"deepgram_api_key", "d"},
                                                           {"xai_api_key", "x"}};
                     },
                     ""};
    Transcriber transcriber{config, deployment, http, keys, noEngine, {}, clock};
};

INSTANTIATE_TEST_SUITE_P(Of, ProviderWireTest, ::testing::ValuesIn(providers),
                         [](const auto& instance) { return instance.param.name; });

} // namespace

TEST_P(ProviderWireTest, TheRequestIsTheServicesByteForByte) {
    write("not audio, so it goes up as it is");
    config.update([](Settings& settings) { settings.customVocabulary = {"naïve", "C++", "日本"}; });
    EXPECT_EQ(transcribe(), "Hello from the stand-in");

    const WireRequest wire = recogniser.requests().at(0).wire;
    if (GetParam().name == "Deepgram") {
        EXPECT_EQ(wire.target, "/v1/listen?model=nova-3&language=de&smart_format=true"
                               "&keyterm=na%C3%AFve:2&keyterm=C%2B%2B:2&keyterm=%E6%97%A5%E6%9C%AC:2");
        EXPECT_EQ(wire.header("Authorization"), "Token d");
        EXPECT_EQ(wire.header("Content-Type"), "audio/wav");
        EXPECT_EQ(wire.body, "not audio, so it goes up as it is");
        return;
    }
    const bool isGroq = GetParam().name == "Groq";
    EXPECT_EQ(wire.target, isGroq ? "/openai/v1/audio/transcriptions" : "/v1/stt");
    EXPECT_EQ(wire.header("Authorization"), isGroq ? "Bearer g" : "Bearer x");
    const std::string type = wire.header("Content-Type");
    const std::string boundary = type.substr(type.find('=') + 1);
    EXPECT_THAT(type, ::testing::MatchesRegex("multipart/form-data; boundary=[0-9A-F-]{36}"));
    const auto field = [&](const std::string& name, const std::string& value) {
        return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value + "\r\n";
    };
    const std::string fields = isGroq ? field("model", "whisper-large-v3-turbo") + field("language", "de") +
                                            field("response_format", "verbose_json") +
                                            field("prompt", "naïve, C++, 日本") + field("temperature", "0.0")
                                      : field("language", "de") + field("format", "true");
    EXPECT_EQ(wire.body, "--" + boundary + "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" +
                             clip.filename().string() + "\"\r\nContent-Type: audio/wav\r\n\r\n" +
                             "not audio, so it goes up as it is\r\n" + fields + "--" + boundary + "--\r\n");

    for (const auto& [language, isKnownToGrok] :
         {std::pair("auto", false), {"sw", false}, {"EN", false}, {"fil", true}}) {
        config.update([&, code = language](Settings& settings) { settings.language = code; });
        transcribe();
        const auto next = recogniser.requests().back();
        EXPECT_NE(next.wire.header("Content-Type"), type) << "each request has a boundary of its own";
        EXPECT_EQ(next.field("language").has_value(), isGroq ? language != std::string("auto") : isKnownToGrok);
        EXPECT_EQ(next.field("format").has_value(), !isGroq && isKnownToGrok);
    }
}

TEST_P(ProviderWireTest, TheClipGoesUpPreparedOrAsItIs) {
    transcribe();
    const auto received = recogniser.requests().at(0);
    EXPECT_THAT(received.audio(), StartsWith("RIFF"));
    if (!GetParam().preparesClip) {
        EXPECT_EQ(received.audio(), toneWav());
        return;
    }
    EXPECT_THAT(received.parts.at(0).head, HasSubstr("filename=\"fenlo_pre_"));

    const std::filesystem::path odd = clip.parent_path() / "a\"\r\nb.wav";
    std::ofstream(odd) << "not audio";
    transcriber.transcribe({.audio = odd}, {});
    EXPECT_THAT(recogniser.requests().at(1).parts.at(0).head, HasSubstr("filename=\"a%22%0D%0Ab.wav\"\r\n"))
        << "a file's name must not break the form";
}

TEST_P(ProviderWireTest, EveryFaultEndsInItsErrorAndTheNextClipWorks) {
    const std::string& name = GetParam().name;
    const std::pair<std::string, std::string> cases[] = {
        {"500", "networkError " + name + " API error 500: {\"error\""},
        {"garbage", "invalidResponse " + name + "'s reply is no JSON object"},
        {"html", "invalidResponse " + name + "'s reply is no JSON object"},
        {"shape", "invalidResponse " + name + "'s reply holds no"},
        {"close", "connection 127.0.0.1"},
        {"partial", "connection 127.0.0.1"},
        {"huge", "tooLarge the answer of 127.0.0.1"},
        {"hang", "timeout no answer from"},
        {"trickle", "timeout no answer from"},
        {"reset", "connection "}};
    for (const auto& [mode, error] : cases) {
        if (mode == "reset")
            write(std::string(16 << 20, 'x')); // more than the sockets hold
        http.patience = mode == "hang" || mode == "trickle" ? 0.2 : 100;
        recogniser.behave("speech", {.mode = mode});
        EXPECT_THAT(fault(), StartsWith(error)) << mode;
        EXPECT_EQ(preparedClips(), 0u) << mode;
    }
    http.patience = 100;
    write(toneWav());
    recogniser.behave("speech", {.mode = "utf8"});
    EXPECT_EQ(transcribe(), "A broken caf\uFFFD letter");
    recogniser.behave("speech", {});
    EXPECT_EQ(transcribe(), "Hello from the stand-in");
}

TEST_P(ProviderWireTest, AHostThatCannotBeTrustedOrFoundGetsNothing) {
    const TlsServer untrusted;
    std::string& host = deployment.*GetParam().host;
    const std::string working = host;
    const std::string noName = std::string(64, 'x') + ".invalid"; // a label too long to be asked for
    for (const auto& [address, error] : {std::pair("https://127.0.0.1:" + std::to_string(untrusted.port), "tls "),
                                         {"http://" + noName, "connection "}}) {
        host = address;
        EXPECT_THAT(fault(), StartsWith(error));
        EXPECT_EQ(preparedClips(), 0u);
    }
    host = working;
    EXPECT_EQ(transcribe(), "Hello from the stand-in");
}

TEST_P(ProviderWireTest, ATakeCanBeStoppedWhateverTheServiceDoes) {
    for (const char* mode : {"hang", "trickle"}) {
        recogniser.behave("speech", {.mode = mode});
        const std::size_t before = recogniser.requests().size();
        std::stop_source stop;
        auto waiting = std::async(std::launch::async, [&] { return fault(stop.get_token()); });
        ASSERT_TRUE(waitUntil(10, [&] { return recogniser.requests().size() > before; }));
        const auto start = std::chrono::steady_clock::now();
        stop.request_stop();
        EXPECT_THAT(waiting.get(), StartsWith("cancelled ")) << mode;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500)) << mode;
        EXPECT_EQ(preparedClips(), 0u) << mode;
    }
}

TEST_P(ProviderWireTest, AWarmedConnectionServesTheClipsThatFollow) {
    transcriber.warmConnection();
    if (GetParam().name == "Grok") {
        EXPECT_EQ(recogniser.server().connections(), 0) << "its key is not at hand before the first clip";
        transcribe();
        transcriber.warmConnection();
    } else {
        ASSERT_TRUE(waitUntil(10, [&] { return recogniser.server().answers() > 0; }));
    }
    transcribe();
    transcribe();
    EXPECT_TRUE(recogniser.requests().back().wire.reused);
    EXPECT_EQ(recogniser.server().connections(), 1);
}
