#include "speech/GroqProvider.h"
#include "base/Files.h"
#include "support/FakeHttpClient.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <fstream>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

using Kind = TranscriberError::Kind;

/// A reply with one segment for each text.
std::string segment(const std::string& text, double noSpeech, double logprob) {
    return R"({"text": ")" + text + R"(", "no_speech_prob": )" + std::to_string(noSpeech) + R"(, "avg_logprob": )" +
           std::to_string(logprob) + "}";
}

std::string replyWith(const std::vector<std::string>& segments) {
    std::string all;
    for (const std::string& one : segments)
        all += (all.empty() ? "" : ", ") + one;
    return R"({"text": "whole", "segments": [)" + all + "]}";
}

class GroqTranscribeTest : public ::testing::Test {
protected:
    GroqTranscribeTest() { std::ofstream(clip) << std::string(3000, 'x'); }

    ProviderResult transcribe(std::stop_token stop = {}) {
        return groq::transcribe(http, clock, {"https://groq.example", "gsk_secret"},
                                {.audio = clip, .appName = "kitty"}, "auto", "", stop);
    }

    TranscriberError failure() {
        try {
            transcribe();
        } catch (const TranscriberError& error) {
            return error;
        }
        ADD_FAILURE() << "no error";
        return {Kind::noAPIKey, ""};
    }

    const std::filesystem::path clip = files::temporaryFile("clip_", ".wav");
    FakeHttpClient http;
    VirtualClock clock;
    LogCapture log;
};

} // namespace

TEST(GroqBody, IsTheServicesFormByteForByte) {
    EXPECT_EQ(groq::composeBody({"clip.wav", std::string("R\0\r\n", 4), "de", "Fenlo, EKG"}, "B-1"),
              "--B-1\r\n"
              "Content-Disposition: form-data; name=\"file\"; filename=\"clip.wav\"\r\n"
              "Content-Type: audio/wav\r\n"
              "\r\n" +
                  std::string("R\0\r\n", 4) +
                  "\r\n"
                  "--B-1\r\nContent-Disposition: form-data; name=\"model\"\r\n\r\nwhisper-large-v3-turbo\r\n"
                  "--B-1\r\nContent-Disposition: form-data; name=\"language\"\r\n\r\nde\r\n"
                  "--B-1\r\nContent-Disposition: form-data; name=\"response_format\"\r\n\r\nverbose_json\r\n"
                  "--B-1\r\nContent-Disposition: form-data; name=\"prompt\"\r\n\r\nFenlo, EKG\r\n"
                  "--B-1\r\nContent-Disposition: form-data; name=\"temperature\"\r\n\r\n0.0\r\n"
                  "--B-1--\r\n");
}

TEST(GroqBody, LeavesOutWhatIsNotChosen) {
    const std::string body = groq::composeBody({"a\"\r\nb.wav", "", "auto", ""}, "B");
    EXPECT_THAT(body, Not(HasSubstr("language")));
    EXPECT_THAT(body, Not(HasSubstr("prompt")));
    EXPECT_THAT(body, HasSubstr("filename=\"a%22%0D%0Ab.wav\"\r\n")) << "a file's name must not break the form";
}

TEST(GroqReply, SegmentsAreJoinedAndTheirConfidenceKept) {
    const ProviderResult result = groq::parseReply(
        replyWith({segment(" One.", 0.1, -0.2), segment("two ", 0.4, -0.1), segment("three", 0, -0.6)}), 10);
    EXPECT_EQ(result.text, "One. two  three");
    ASSERT_TRUE(result.meta);
    EXPECT_NEAR(result.meta->avgConfidence, -0.3, 1e-9);
    EXPECT_THAT(result.meta->lowConfidenceRanges, ElementsAre("two ", "three"));
}

TEST(GroqReply, DoubtfulSegmentsAreDroppedByTheLengthOfTheClip) {
    struct Case {
        double noSpeech, logprob, duration;
        bool isKept;
    };
    for (const Case& test :
         {Case{0.8, 0, 10, false}, Case{0.8, 0, 2, true}, Case{0.8, 0, 0, false}, Case{0.7, 0, 10, true},
          Case{0.95, 0, 2.99, true}, Case{0.96, 0, 2, false}, Case{0.8, 0, 3, false}, Case{0, -1.5, 10, false},
          Case{0, -1.5, 2, true}, Case{0, -1.5, 0, false}, Case{0, -1, 10, true}, Case{0, -1.8, 2, true},
          Case{0, -1.81, 2, false}}) {
        const ProviderResult result =
            groq::parseReply(replyWith({segment("word", test.noSpeech, test.logprob)}), test.duration);
        EXPECT_EQ(result.text, test.isKept ? "word" : "")
            << test.noSpeech << ' ' << test.logprob << ' ' << test.duration;
        ASSERT_TRUE(result.meta);
        EXPECT_EQ(result.meta->lowConfidenceRanges.empty(), !test.isKept);
        EXPECT_EQ(result.meta->avgConfidence, test.isKept ? test.logprob : 0);
    }
}

TEST(GroqReply, DroppedSegmentsAreLogged) {
    const LogCapture log;
    groq::parseReply(replyWith({segment("a", 0.8, -2), segment("b", 0, -1.234)}), 10);
    EXPECT_THAT(log.lines(),
                ElementsAre("[Fenlo] Skipping low-confidence segment (no_speech=0.80, threshold=0.70): 'a'",
                            "[Fenlo] Skipping low-logprob segment (avg_logprob=-1.23, threshold=-1.00): 'b'"));
}

TEST(GroqReply, OddSegmentsDoNoHarm) {
    const ProviderResult result = groq::parseReply(
        R"({"segments": [7, {}, {"text": null}, {"text": "kept", "no_speech_prob": "x", "avg_logprob": []}]})", 10);
    EXPECT_EQ(result.text, "kept");
    EXPECT_EQ(result.meta->avgConfidence, 0);
    EXPECT_EQ(groq::parseReply(R"({"segments": []})", 0).text, "");
}

TEST(GroqReply, WithoutSegmentsTheTextCounts) {
    const ProviderResult result = groq::parseReply(R"({"text": " plain\n", "segments": null})", 10);
    EXPECT_EQ(result.text, "plain");
    EXPECT_FALSE(result.meta);
    EXPECT_EQ(groq::parseReply("{\"text\": \"caf\xE9\"}", 0).text, "caf\uFFFD");
}

TEST(GroqReply, WhatIsNoReplyIsRefused) {
    for (const std::string& body : {std::string(), std::string("[]"), std::string("{\"text\": 1}"), std::string("{}"),
                                    std::string("<html>"), std::string("{\"text\": \"a"), std::string(100'000, '[')}) {
        try {
            groq::parseReply(body, 0);
            ADD_FAILURE() << body.substr(0, 20);
        } catch (const TranscriberError& error) {
            EXPECT_EQ(error.kind, Kind::invalidResponse);
        }
    }
}

TEST_F(GroqTranscribeTest, SendsTheClipWithItsKey) {
    http.onSend = [&](const HttpRequest&) {
        clock.advance(0.416);
        return HttpResponse{200, {}, R"({"text": "hello"})"};
    };
    EXPECT_EQ(transcribe().text, "hello");
    transcribe();

    const HttpRequest& request = http.requests.at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://groq.example/openai/v1/audio/transcriptions");
    EXPECT_EQ(request.timeout, 600);
    ASSERT_EQ(request.headers.size(), 2u);
    EXPECT_EQ(request.headers[0], std::pair(std::string("Authorization"), std::string("Bearer gsk_secret")));
    const std::string type = request.headers[1].second;
    EXPECT_THAT(type, ::testing::MatchesRegex("multipart/form-data; boundary=[0-9A-F-]{36}"));
    EXPECT_THAT(request.body, HasSubstr("--" + type.substr(type.size() - 36) + "--\r\n"));
    EXPECT_NE(type, http.requests.at(1).headers[1].second) << "each request has a boundary of its own";
    EXPECT_TRUE(log.contains("[Fenlo] Uploading 2KB to Groq (dev mode)…"));
    EXPECT_TRUE(log.contains("[Fenlo] Groq responded in 0.42s (status 200)"));
    EXPECT_TRUE(std::filesystem::exists(clip)) << "the clip stays the caller's";
}

TEST_F(GroqTranscribeTest, AnErrorStatusIsToldInOneLineWithoutTheKey) {
    const auto messageOf = [&](const std::string& body) {
        http.onSend = [&](const HttpRequest&) { return HttpResponse{401, {}, body}; };
        const TranscriberError error = failure();
        EXPECT_EQ(error.kind, Kind::networkError);
        EXPECT_TRUE(log.contains("[Fenlo] ERROR: " + std::string(error.what())));
        return std::string(error.what());
    };
    EXPECT_EQ(messageOf("{\n  \"error\": \"no gsk_secret\"\n}\n"), "Groq API error 401: { \"error\": \"no <key>\" }");
    EXPECT_EQ(messageOf("caf\xE9"), "Groq API error 401: unknown");
    EXPECT_LT(messageOf(std::string(1 << 20, 'x')).size(), 600u);
}

TEST_F(GroqTranscribeTest, FaultsOfTheNetworkAndTheFileGoUpAsTheyAre) {
    http.onSend = [](const HttpRequest&) -> HttpResponse { throw HttpError(HttpError::Kind::timeout, "no answer"); };
    EXPECT_THROW(transcribe(), HttpError);
    std::filesystem::remove(clip);
    EXPECT_THROW(transcribe(), std::runtime_error);
    EXPECT_EQ(http.requests.size(), 1u);
}
