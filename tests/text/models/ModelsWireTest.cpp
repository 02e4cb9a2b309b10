// The road of a rewrite over a real connection, to services that may misbehave.

#include "platform/linux/net/CurlHttpClient.h"
#include "support/LoopbackServices.h"
#include "support/WaitUntil.h"
#include "text/models/ModelsFixture.h"

#include <cstdlib>
#include <future>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

class ModelsWireTest : public ::testing::Test {
protected:
    ModelsWireTest() { choose("auto"); }

    void choose(const std::string& model) {
        config.update([&](Settings& settings) { settings.smartRewriteModel = Choice<SmartRewriteModel>(model); });
    }
    std::string rewrite(std::stop_token stop = {}) { return models.rewrite("raw", {}, "auto", {}, stop).text; }

    LoopbackServices services;
    const LoopbackServer& server = services.server();
    VirtualClock clock;
    Config config{files::temporaryFile("config_", ".json"), clock};
    const Deployment deployment = modelHosts(server.url(), server.url());
    CurlHttpClient http;
    FakeSecureStore store;
    Keychain keychain{store};
    ServiceKeys keys{
        keychain,
        [](auto) {
            return ServiceKeys::Configuration{{"gemini_api_key", "AIza_wire-1"}, {"groq_api_key", "gsk_wire"}};
        },
        ""};
    SmartRewrite models{config, deployment, http, keys, clock};
    LogCapture log;
};

} // namespace

TEST_F(ModelsWireTest, BothRequestsArriveAsTheyWereComposed) {
    const ModelPrompt prompt{"Be \"brief\".\n", "naïve/日本"};
    services.behave("gemini", {.mode = "400"});
    EXPECT_EQ(models.complete(prompt.system, prompt.user, {}), "Polished by the stand-in.");

    const WireRequest toGemini = services.requests().at(0).wire;
    EXPECT_EQ(toGemini.target, "/v1beta/models/gemini-2.0-flash:generateContent?key=AIza_wire-1");
    EXPECT_EQ(toGemini.header("Authorization"), "");
    EXPECT_EQ(toGemini.body, gemini::composeBody(prompt));
    const WireRequest toGroq = services.requests().at(1).wire;
    EXPECT_EQ(toGroq.target, "/openai/v1/chat/completions");
    EXPECT_EQ(toGroq.header("Authorization"), "Bearer gsk_wire");
    EXPECT_EQ(toGroq.body, groqChat::composeBody(prompt));
    for (const WireRequest& request : {toGemini, toGroq})
        EXPECT_EQ(request.method + ' ' + request.header("Content-Type"), "POST application/json");
}

TEST_F(ModelsWireTest, EveryFaultEndsInTheRawTextAndTheNextRewriteWorks) {
    struct Case {
        std::string mode;
        std::size_t requests;
        std::string error;
    };
    for (const std::string service : {"gemini", "groq"})
        for (const Case& test :
             {Case{"429", 2, "API error 429: "}, Case{"500", 2, "API error 500: "}, Case{"503", 2, "API error 503: "},
              Case{"401", 1, "API error 401: "}, Case{"garbage", 1, "no JSON, it starts '{\""},
              Case{"html", 1, "no JSON, it starts '<!DOCTYPE html> "}, Case{"shape", 1, "holds no answer"},
              // The first attempt goes over a kept connection, and so once more over a fresh one.
              Case{"partial", 3, "in the middle of its answer"}, Case{"huge", 2, "is too large"}}) {
            SCOPED_TRACE(service + " " + test.mode);
            choose(service);
            services.behave(service, {.mode = test.mode});
            const std::size_t before = services.requests(service).size();
            EXPECT_EQ(rewrite(), "raw");
            EXPECT_EQ(services.requests(service).size() - before, test.requests);
            EXPECT_THAT(log.lines().back(), HasSubstr(test.error));
            services.behave(service, {.mode = "503", .times = 1});
            EXPECT_EQ(rewrite(), "Polished by the stand-in.") << "the retry comes to its answer";
        }
    for (const std::string& line : log.lines())
        EXPECT_THAT(line, ::testing::Not(::testing::AnyOf(HasSubstr("AIza_wire-1"), HasSubstr("gsk_wire"))));
}

TEST_F(ModelsWireTest, AStopEndsAHangingRequestAndAllThatWouldFollow) {
    services.behave("gemini", {.mode = "hang"});
    std::stop_source stop;
    auto waiting = std::async(std::launch::async, [&] { return rewrite(stop.get_token()); });
    ASSERT_TRUE(waitUntil(10, [&] { return !services.requests().empty(); }));
    const auto start = std::chrono::steady_clock::now();
    stop.request_stop();
    EXPECT_EQ(waiting.get(), "raw");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    EXPECT_EQ(services.requests().size(), 1u);
    EXPECT_EQ(clock.slept, 0);
}

TEST_F(ModelsWireTest, AWarmedConnectionServesTheRewriteThatFollows) {
    ::setenv("GEMINI_API_KEY", "AIza_wire-1", 1);
    models.warmConnection();
    ASSERT_TRUE(waitUntil(10, [&] { return server.answers() > 0; }));
    rewrite();
    ::unsetenv("GEMINI_API_KEY");
    EXPECT_TRUE(services.requests().at(0).wire.reused);
}

TEST_F(ModelsWireTest, SeveralCallsMayBeOnTheirWayAtOnce) {
    std::vector<std::future<std::string>> calls;
    for (int i = 0; i < 4; ++i)
        calls.push_back(std::async(std::launch::async, [this] { return models.complete("s", "u", {}); }));
    for (auto& call : calls)
        EXPECT_EQ(call.get(), "Polished by the stand-in.");
}
