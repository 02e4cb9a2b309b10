#include "text/LanguageModelCalls.h"
#include "text/models/ModelsFixture.h"

using namespace fenlo;
using namespace fenlo::test;
using ::testing::EndsWith;
using ::testing::Not;

namespace {

const ModelPrompt prompt{"You \"format\".\n", "caf\xE9 – naïve/日本"};

} // namespace

TEST(ModelRequests, AreTheServicesByteForByte) {
    FakeHttpClient http;
    http.onSend = [&](const HttpRequest& request) {
        return HttpResponse{200, {}, request.headers.size() == 1 ? geminiReply("g") : groqReply("q")};
    };
    EXPECT_EQ(callGemini(http, {"https://host", "a+b&c"}, prompt, {}), "g");
    EXPECT_EQ(callGroq(http, {"https://host", "key"}, prompt, {}), "q");

    const HttpRequest& toGemini = http.requests.at(0);
    EXPECT_EQ(toGemini.url, "https://host/v1beta/models/gemini-2.0-flash:generateContent?key=a+b&c");
    EXPECT_EQ(toGemini.body, R"({"system_instruction":{"parts":[{"text":"You \"format\".\n"}]},)"
                             R"("contents":[{"role":"user","parts":[{"text":"caf)"
                             "\uFFFD – naïve/日本"
                             R"("}]}],"generationConfig":{"temperature":0.3,"maxOutputTokens":4096}})");
    const HttpRequest& toGroq = http.requests.at(1);
    EXPECT_EQ(toGroq.url, "https://host/openai/v1/chat/completions");
    EXPECT_EQ(toGroq.headers.front(), std::pair(std::string("Authorization"), std::string("Bearer key")));
    EXPECT_EQ(toGroq.body, R"({"model":"llama-3.3-70b-versatile","messages":[)"
                           R"({"role":"system","content":"You \"format\".\n"},{"role":"user","content":"caf)"
                           "\uFFFD – naïve/日本"
                           R"("}],"temperature":0.3,"max_tokens":4096})");
    for (const HttpRequest& request : http.requests) {
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.headers.back(), std::pair(std::string("Content-Type"), std::string("application/json")));
        EXPECT_EQ(request.timeout, 30);
        EXPECT_EQ(request.maxResponseBytes, 4u << 20u);
    }
}

TEST(ModelReplies, AreReadAlongOnePath) {
    EXPECT_EQ(gemini::parseReply(geminiReply(" \n One.\nTwo.\t\n")), "One.\nTwo.");
    EXPECT_EQ(groqChat::parseReply(groqReply(" \n One.\nTwo.\t\n")), "One.\nTwo.");
    EXPECT_EQ(gemini::parseReply("{\"candidates\":[{\"content\":{\"parts\":[{\"text\":\"caf\xE9\"}, 7]}}, 8]}"),
              "caf\uFFFD");

    for (const char* body :
         {"{}", "[]", "7", "null", R"({"candidates": [], "choices": []})", R"({"candidates": {}, "choices": {"0": 1}})",
          R"({"candidates": [{"content": {"parts": []}}], "choices": [{"message": []}]})",
          R"({"candidates": [{"content": {"parts": [{"text": null}]}}], "choices": [{"message": {"content": 7}}]})",
          R"({"candidates": [{"finishReason": "SAFETY"}], "choices": [{"delta": {"content": "x"}}]})"})
        for (const auto parse : {gemini::parseReply, groqChat::parseReply})
            try {
                parse(body);
                ADD_FAILURE() << body;
            } catch (const SmartRewriteError& error) {
                EXPECT_EQ(error.kind, SmartRewriteError::Kind::parseError);
                EXPECT_THAT(error.what(), EndsWith("'s reply holds no answer"));
            }

    const std::string secret(1 << 20, 'x');
    for (const std::string& body :
         {std::string(), "<html>\n" + secret, "{\"a\": \"" + secret, "[1e999, \"" + secret + "\"]",
          "{\"a\": \"\\ud800\"}" + secret, std::string(100'000, '['), groqReply("cut").substr(0, 30)})
        for (const auto parse : {gemini::parseReply, groqChat::parseReply})
            try {
                parse(body);
                ADD_FAILURE() << body.substr(0, 20);
            } catch (const SmartRewriteError& error) {
                ADD_FAILURE() << "JSON of the wrong shape, it says: " << body.substr(0, 20);
            } catch (const std::runtime_error& error) {
                EXPECT_LT(std::string(error.what()).size(), 100u);
                EXPECT_THAT(error.what(), Not(::testing::HasSubstr("\n")));
            }
}
