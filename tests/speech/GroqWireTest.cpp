// The whole road of a clip over a real connection: transcriber, HTTP client and a service that may misbehave.

#include "base/Files.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "speech/Transcriber.h"
#include "support/FakeSecureStore.h"
#include "support/LoopbackRecogniser.h"
#include "support/VirtualTime.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <future>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

const std::string key = "gsk_wire";

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

class GroqWireTest : public ::testing::Test {
protected:
    GroqWireTest() { write("not audio, so it goes up as it is"); }

    void write(const std::string& bytes) { std::ofstream(clip, std::ios::binary) << bytes; }

    std::string transcribe(std::stop_token stop = {}) { return transcriber.transcribe({.audio = clip}, stop); }

    template <typename Error>
    std::string faultOf(const std::string& mode) {
        recogniser.behave({.mode = mode});
        try {
            transcribe();
        } catch (const Error& error) {
            return error.what();
        }
        return "no error";
    }

    const std::filesystem::path clip = files::temporaryFile("clip_", ".wav");
    LoopbackRecogniser recogniser;
    VirtualClock clock;
    Config config{files::temporaryFile("config_", ".json"), clock};
    Deployment deployment{recogniser.server().url(), "", "site.example"};
    CurlHttpClient http;
    FakeSecureStore store;
    Keychain keychain{store};
    LocalTranscriber noEngine{"small", {}, {}, clock};
    Transcriber transcriber{config,
                            deployment,
                            http,
                            keychain,
                            noEngine,
                            [](auto) {
                                return std::map<std::string, std::string>{{"groq_api_key", key}};
                            },
                            [](auto&&) { return std::vector<std::string>{}; },
                            clock};
};

} // namespace

TEST_F(GroqWireTest, TheRequestIsTheServicesByteForByte) {
    config.update([](Settings& settings) { settings.customVocabulary = {"naïve", "日本"}; });
    EXPECT_EQ(transcribe(), "Hello from the stand-in");

    const WireRequest wire = recogniser.requests().at(0).wire;
    const std::string type = wire.header("Content-Type");
    const std::string boundary = type.substr(type.find('=') + 1);
    EXPECT_EQ(type, "multipart/form-data; boundary=" + boundary);
    EXPECT_EQ(wire.header("Authorization"), "Bearer " + key);
    const auto field = [&](const std::string& name, const std::string& value) {
        return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value + "\r\n";
    };
    EXPECT_EQ(wire.body, "--" + boundary + "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" +
                             clip.filename().string() + "\"\r\nContent-Type: audio/wav\r\n\r\n" +
                             "not audio, so it goes up as it is\r\n" + field("model", "whisper-large-v3-turbo") +
                             field("response_format", "verbose_json") + field("prompt", "naïve, 日本") +
                             field("temperature", "0.0") + "--" + boundary + "--\r\n");
}

TEST_F(GroqWireTest, APreparedClipGoesUpAndIsDeletedWhateverHappens) {
    write(toneWav());
    transcribe();
    const auto request = recogniser.requests().at(0);
    EXPECT_THAT(request.parts.at(0).head, HasSubstr("filename=\"fenlo_pre_"));
    EXPECT_EQ(request.field("file")->substr(0, 4), "RIFF");
    faultOf<TranscriberError>("500");
    faultOf<HttpError>("close");
    EXPECT_EQ(preparedClips(), 0u);
    EXPECT_TRUE(std::filesystem::exists(clip));
}

TEST_F(GroqWireTest, EveryFaultIsToldAndTheNextClipWorks) {
    EXPECT_THAT(faultOf<TranscriberError>("500"), HasSubstr("Groq API error 500: {\"error\""));
    EXPECT_THAT(faultOf<TranscriberError>("garbage"), HasSubstr("no JSON object"));
    EXPECT_THAT(faultOf<TranscriberError>("html"), HasSubstr("no JSON object"));
    EXPECT_THAT(faultOf<HttpError>("close"), HasSubstr("without an answer"));
    EXPECT_THAT(faultOf<HttpError>("partial"), HasSubstr("in the middle of its answer"));
    recogniser.behave({.mode = "utf8"});
    EXPECT_EQ(transcribe(), "A broken caf\uFFFD letter");
    recogniser.behave({});
    EXPECT_EQ(transcribe(), "Hello from the stand-in");
}

TEST_F(GroqWireTest, ATakeCanBeStoppedWhileTheServiceHangs) {
    recogniser.behave({.mode = "hang"});
    std::stop_source stop;
    auto waiting = std::async(std::launch::async, [&] { EXPECT_THROW(transcribe(stop.get_token()), HttpError); });
    while (recogniser.requests().empty())
        std::this_thread::yield();
    const auto start = std::chrono::steady_clock::now();
    stop.request_stop();
    waiting.get();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

TEST_F(GroqWireTest, AWarmedConnectionServesTheClipsThatFollow) {
    transcriber.setup({});
    transcriber.warmConnection();
    while (recogniser.server().answers() == 0)
        std::this_thread::yield();
    transcribe();
    transcribe();
    EXPECT_TRUE(recogniser.requests().at(0).wire.reused);
    EXPECT_EQ(recogniser.server().connections(), 1);
}
