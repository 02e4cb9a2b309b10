// What the speech services have in common, seen from the request and the reply.

#include "base/Files.h"
#include "speech/DeepgramProvider.h"
#include "speech/GrokProvider.h"
#include "speech/GroqProvider.h"
#include "support/FakeHttpClient.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <fstream>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

using Kind = TranscriberError::Kind;

struct Provider {
    std::string name;
    std::string destination;
    double timeout;
    bool logsErrors;
    std::function<ProviderResult(const ServiceAccess&, const TranscribeRequest&)> transcribe;
    std::function<ProviderResult(const std::string& body)> parse;
    std::string around[2]; // a text in a reply
};

const Provider providers[] = {
    {"Groq",
     "Groq",
     600,
     true,
     [](auto& access, auto& request) { return groq::transcribe(access, request, "auto", "", {}); },
     [](auto& body) { return groq::parseReply(body, 0); },
     {R"({"text": )", "}"}},
    {"Deepgram",
     "Deepgram",
     30,
     true,
     [](auto& access, auto& request) { return deepgram::transcribe(access, request, "auto", {}, {}); },
     deepgram::parseReply,
     {R"({"results": {"channels": [{"alternatives": [{"transcript": )", "}]}]}}"}},
    {"Grok",
     "xAI Grok",
     120,
     false,
     [](auto& access, auto& request) { return grok::transcribe(access, request, "auto", {}); },
     grok::parseReply,
     {R"({"text": )", "}"}},
};

class ProvidersTest : public ::testing::TestWithParam<Provider> {
protected:
    ProvidersTest() { std::ofstream(clip) << std::string(3000, 'x'); }

    ProviderResult transcribe() { return GetParam().transcribe(access, {.audio = clip, .appName = "kitty"}); }
    std::string replyWith(const std::string& value) const {
        return GetParam().around[0] + value + GetParam().around[1];
    }

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
    LogCapture log;
};

INSTANTIATE_TEST_SUITE_P(Of, ProvidersTest, ::testing::ValuesIn(providers),
                         [](const auto& instance) { return instance.param.name; });

} // namespace

TEST_P(ProvidersTest, AClipGoesUpInTimeAndIsToldOfInTheLog) {
    http.onSend = [&](const HttpRequest&) {
        clock.advance(0.416);
        return HttpResponse{200, {}, replyWith(R"(" hello\n")")};
    };
    EXPECT_EQ(transcribe().text, "hello");
    EXPECT_EQ(http.requests.at(0).timeout, GetParam().timeout);
    EXPECT_TRUE(log.contains("[Fenlo] Uploading 2KB to " + GetParam().destination + " (dev mode)…"));
    EXPECT_TRUE(log.contains("[Fenlo] " + GetParam().name + " responded in 0.42s (status 200)"));
    const bool isToldOfDevMode = http.requests[0].url.find("&punctuate=false&smart_format=false") != std::string::npos;
    EXPECT_EQ(isToldOfDevMode, GetParam().name == "Deepgram");

    std::filesystem::remove(clip);
    EXPECT_THROW(transcribe(), std::runtime_error);
    EXPECT_EQ(http.requests.size(), 1u) << "there is nothing to send";
}

TEST_P(ProvidersTest, AnErrorStatusIsToldInOneLineWithoutTheKey) {
    const auto messageOf = [&](const std::string& body) {
        http.onSend = [&](const HttpRequest&) { return HttpResponse{401, {}, body}; };
        const std::string message = failureOf(Kind::networkError, [&] { transcribe(); });
        EXPECT_EQ(log.contains("[Fenlo] ERROR: " + message), GetParam().logsErrors);
        return message;
    };
    EXPECT_EQ(messageOf("{\n  \"error\": \"no secret\"\n}\n"),
              GetParam().name + " API error 401: { \"error\": \"no <key>\" }");
    EXPECT_EQ(messageOf("caf\xE9"), GetParam().name + " API error 401: unknown");
    EXPECT_LT(messageOf(std::string(1 << 20, 'x')).size(), 600u);
}

TEST_P(ProvidersTest, WhatIsNoReplyIsRefusedAndBrokenTextRepaired) {
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
