// What the speech services have in common, seen from the request and the reply. How a connection may fail is tested
// with the HTTP client.

#include "audio/WavFile.h"
#include "base/Files.h"
#include "base/Text.h"
#include "speech/DeepgramProvider.h"
#include "speech/GrokProvider.h"
#include "speech/GroqProvider.h"
#include "support/FakeHttpClient.h"
#include "support/Signals.h"
#include "support/VirtualTime.h"

#include <fstream>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

using Kind = TranscriberError::Kind;

const std::vector<std::string> terms{"naïve", "C++", "日本"};

struct Provider {
    std::string name;
    double timeout;
    std::function<ProviderResult(const ServiceAccess&, const TranscribeRequest&, const std::string& language)>
        transcribe;
    std::function<ProviderResult(const std::string& body)> parse;
    std::string around[2]; // a text in a reply
};

const Provider providers[] = {
    {"Groq",
     600,
     [](auto& access, auto& request, auto& language) {
         return groq::transcribe(access, request, language, text::join(terms, ", "), {});
     },
     [](auto& body) { return groq::parseReply(body, 0); },
     {R"({"text": )", "}"}},
    {"Deepgram",
     30,
     [](auto& access, auto& request, auto& language) {
         return deepgram::transcribe(access, request, language, terms, {});
     },
     deepgram::parseReply,
     {R"({"results": {"channels": [{"alternatives": [{"transcript": )", "}]}]}}"}},
    {"Grok",
     120,
     [](auto& access, auto& request, auto& language) { return grok::transcribe(access, request, language, {}); },
     grok::parseReply,
     {R"({"text": )", "}"}},
};

class ProvidersTest : public ::testing::TestWithParam<Provider> {
protected:
    ProvidersTest() {
        std::ofstream(clip) << "not audio, so it goes up as it is";
        answer(200, replyWith(R"(" hello\n")"));
    }
    ~ProvidersTest() override {
        EXPECT_TRUE(std::filesystem::exists(clip)) << "the clip stays the caller's";
        files::removeQuietly(clip);
    }

    void answer(int status, const std::string& body) {
        http.onSend = [status, body](const HttpRequest&) { return HttpResponse{status, {}, body}; };
    }
    ProviderResult transcribe(const std::string& language = "de", const std::string& application = "") {
        return GetParam().transcribe(access, {.audio = clip, .appName = application}, language);
    }
    std::string replyWith(const std::string& value) const {
        return GetParam().around[0] + value + GetParam().around[1];
    }
    bool is(const char* name) const { return GetParam().name == name; }

    template <typename Call>
    std::string failureOf(Kind kind, Call call) {
        try {
            call();
        } catch (const TranscriberError& error) {
            EXPECT_EQ(error.kind, kind);
            return error.what();
        }
        return "no error";
    }

    const std::filesystem::path clip = files::temporaryFile("clip_", ".wav");
    FakeHttpClient http;
    VirtualClock clock;
    const ServiceAccess access{http, clock, "https://speech.example", "secret"};
};

INSTANTIATE_TEST_SUITE_P(Of, ProvidersTest, ::testing::ValuesIn(providers),
                         [](const auto& instance) { return instance.param.name; });

} // namespace

TEST_P(ProvidersTest, TheRequestIsTheServicesByteForByte) {
    EXPECT_EQ(transcribe().text, "hello");
    const HttpRequest& request = http.requests.at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.timeout, GetParam().timeout);
    const std::string authorization = request.headers.at(0).second, type = request.headers.at(1).second;
    if (is("Deepgram")) {
        EXPECT_EQ(request.url, "https://speech.example/v1/listen?model=nova-3&language=de&smart_format=true"
                               "&keyterm=na%C3%AFve:2&keyterm=C%2B%2B:2&keyterm=%E6%97%A5%E6%9C%AC:2");
        EXPECT_EQ(authorization, "Token secret");
        EXPECT_EQ(type, "audio/wav");
        EXPECT_EQ(request.body, "not audio, so it goes up as it is");
        transcribe("de", "kitty");
        EXPECT_THAT(http.requests.back().url, HasSubstr("&punctuate=false&smart_format=false"));
        return;
    }
    EXPECT_EQ(request.url,
              is("Groq") ? "https://speech.example/openai/v1/audio/transcriptions" : "https://speech.example/v1/stt");
    EXPECT_EQ(authorization, "Bearer secret");
    EXPECT_THAT(type, ::testing::MatchesRegex("multipart/form-data; boundary=[0-9A-F-]{36}"));
    const std::string boundary = type.substr(type.find('=') + 1);
    const auto field = [&](const std::string& name, const std::string& value) {
        return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value + "\r\n";
    };
    const std::string fields = is("Groq") ? field("model", "whisper-large-v3-turbo") + field("language", "de") +
                                                field("response_format", "verbose_json") +
                                                field("prompt", "naïve, C++, 日本") + field("temperature", "0.0")
                                          : field("language", "de") + field("format", "true");
    EXPECT_EQ(request.body, "--" + boundary + "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" +
                                clip.filename().string() + "\"\r\nContent-Type: audio/wav\r\n\r\n" +
                                "not audio, so it goes up as it is\r\n" + fields + "--" + boundary + "--\r\n");

    for (const auto& [language, isKnownToGrok] :
         {std::pair<std::string, bool>("auto", false), {"sw", false}, {"EN", false}, {"fil", true}}) {
        transcribe(language);
        const HttpRequest& next = http.requests.back();
        EXPECT_NE(next.headers.at(1).second, type) << "each request has a boundary of its own";
        const auto has = [&](const char* name) { return next.body.find(name) != std::string::npos; };
        EXPECT_EQ(has("name=\"language\""), is("Groq") ? language != "auto" : isKnownToGrok);
        EXPECT_EQ(has("name=\"format\""), is("Grok") && isKnownToGrok);
    }
}

TEST_P(ProvidersTest, AClipGoesUpPreparedAndThePreparedOneIsDeleted) {
    files::removeQuietly(clip);
    writeWav(clip, sine(0.5F, 1, 16000), 16000, WavEncoding::int16);
    std::string prepared;
    for (const int status : {200, 500}) {
        http.onSend = [&](const HttpRequest& request) {
            const std::size_t at = request.body.find("fenlo_pre_");
            prepared = at == std::string::npos ? "" : request.body.substr(at, request.body.find('"', at) - at);
            EXPECT_EQ(std::filesystem::exists(clip.parent_path() / prepared), true);
            return HttpResponse{status, {}, replyWith("\"hello\"")};
        };
        if (status == 200)
            transcribe();
        else
            failureOf(Kind::networkError, [&] { transcribe(); });
        EXPECT_EQ(prepared.empty(), is("Deepgram")) << "which takes the clip as it is";
        EXPECT_TRUE(prepared.empty() || !std::filesystem::exists(clip.parent_path() / prepared));
    }

    answer(200, replyWith("\"hello\""));
    const std::filesystem::path odd = clip.parent_path() / "a\"\r\nb.wav";
    std::ofstream(odd) << "not audio";
    GetParam().transcribe(access, {.audio = odd}, "de");
    EXPECT_EQ(http.requests.back().body.find("filename=\"a%22%0D%0Ab.wav\"\r\n") != std::string::npos, !is("Deepgram"))
        << "a file's name must not break the form";
    std::filesystem::remove(odd);
    http.requests.clear();
    EXPECT_THROW(GetParam().transcribe(access, {.audio = odd}, "de"), std::runtime_error);
    EXPECT_TRUE(http.requests.empty()) << "there is nothing to send";
}

TEST_P(ProvidersTest, AnErrorStatusIsToldInOneLineWithoutTheKey) {
    const auto messageOf = [&](const std::string& body) {
        answer(401, body);
        return failureOf(Kind::networkError, [&] { transcribe(); });
    };
    EXPECT_EQ(messageOf("{\n  \"error\": \"no secret\"\n}\n"),
              GetParam().name + " API error 401: { \"error\": \"no <key>\" }");
    EXPECT_EQ(messageOf("caf\xE9"), GetParam().name + " API error 401: unknown");
    EXPECT_LT(messageOf(std::string(1 << 20, 'x')).size(), 600u);
}

TEST_P(ProvidersTest, ABodyThatIsNoReplyIsRefusedAndBrokenTextRepaired) {
    EXPECT_EQ(GetParam().parse(replyWith("\"caf\xE9\"")).text, "caf\uFFFD");
    EXPECT_EQ(GetParam().parse(replyWith("\"\"")).text, "");
    for (const std::string& body :
         {std::string(), std::string("[]"), std::string("{}"), std::string("<html>"), std::string(100'000, '['),
          replyWith("1"), replyWith("null"), replyWith("\"a").substr(0, 12), std::string(R"({"results": []})"),
          std::string(R"({"results": {"channels": []}})"), std::string(R"({"results": {"channels": {"0": 1}}})"),
          std::string(R"({"results": {"channels": [7]}})"),
          std::string(R"({"results": {"channels": [{"alternatives": []}]}})"),
          std::string(R"({"results": {"channels": [{"alternatives": ["text"]}]}})")})
        EXPECT_THAT(failureOf(Kind::invalidResponse, [&] { GetParam().parse(body); }),
                    ::testing::StartsWith(GetParam().name + "'s reply "))
            << body.substr(0, 60);
}
