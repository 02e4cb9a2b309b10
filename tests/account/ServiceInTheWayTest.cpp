#include "account/BackendClient.h"
#include "account/ConfigurationKeeper.h"
#include "base/Files.h"
#include "settings/Keychain.h"
#include "shell/StatisticsStore.h"
#include "speech/Transcriber.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeHttpClient.h"
#include "support/FakeSecureStore.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"
#include "text/SmartRewrite.h"

#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// The road of a take with a service on virtual time: whoever asks it while it hangs loses its time-out.
class ServiceInTheWay : public ::testing::Test {
protected:
    ServiceInTheWay() {
        std::ofstream(clip) << "clip";
        http.onSend = [this](const HttpRequest& request) { return answer(request); };
    }

    HttpResponse answer(const HttpRequest& request) {
        if (!request.url.starts_with("https://service"))
            return {200, {}, R"({"text": "heard"})"};
        asked.push_back(request.url.substr(std::string("https://service/api/v1").size()));
        if (isHanging) {
            clock.advance(request.timeout);
            throw HttpError(HttpError::Kind::timeout, "time-out");
        }
        return {200, {}, request.url.ends_with("/register") ? R"({"token": "t"})" : R"({"groq_api_key": "remote"})"};
    }

    /// The seconds that a take waits, and the key that its clip goes with.
    std::pair<double, std::string> take() {
        const double start = clock.now();
        std::string key = "none";
        try {
            EXPECT_EQ(transcriber.transcribe({.audio = clip}, {}), "Heard");
            key = http.requests.back().headers.at(0).second;
        } catch (const TranscriberError&) {
        }
        return {clock.now() - start, key};
    }
    std::vector<std::string> takeAsked() { return std::exchange(asked, {}); }

    const EnvironmentVariable variable{"GROQ_API_KEY", ""};
    const TemporaryFolder home;
    const std::filesystem::path clip = home / "clip.wav";
    VirtualClock clock;
    bool isHanging = true;
    std::vector<std::string> asked; // of the service
    FakeHttpClient http;
    FakeSecureStore store;
    Keychain keychain{store};
    Config config{home / "config.json", clock};
    StatisticsStore statistics{home / "stats.json", clock};
    BackendClient backend{{config, keychain, statistics, http, clock}, "https://service", {}};
    ManualBackground beside;
    ConfigurationKeeper keeper{backend, clock, beside};
    ServiceKeys keys{keychain,
                     {[this](std::stop_token stop) { return keeper.fetch(stop); }, [this] { return keeper.atHand(); },
                      [this] { return keeper.hasFailed(); }},
                     "",
                     KeyringUse::forEveryUse};
    Deployment deployment{.groqHost = "https://groq", .supportAddress = {}, .subtitleSiteDomain = "site.example"};
    LocalTranscriber noEngine{"small", {}, {}, clock};
    Transcriber transcriber{config, deployment, http, keys, noEngine, [](auto&&) { return std::vector<std::string>(); },
                            clock};
};

} // namespace

TEST_F(ServiceInTheWay, ATakeWithAKeyOfTheUsersDoesNotWaitForIt) {
    store.values["groq_api_key"] = "own";
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(take(), std::pair(0.0, std::string("Bearer own")));
    EXPECT_THAT(asked, IsEmpty()) << "it is asked beside";
    EXPECT_EQ(beside.pending(), 1u) << "once";

    // When it answers, the order of the sources counts, and the connection is warmed for the next take.
    isHanging = false;
    beside.runAll();
    EXPECT_THAT(takeAsked(), ElementsAre("/register", "/config"));
    transcriber.warmConnection();
    EXPECT_THAT(http.warmed, ElementsAre("https://groq"));
    EXPECT_EQ(take(), std::pair(0.0, std::string("Bearer remote")));

    // Half an hour later it hangs again: what it said counts.
    isHanging = true;
    clock.advance(1800);
    EXPECT_EQ(take(), std::pair(0.0, std::string("Bearer remote")));
    beside.runAll();
    EXPECT_THAT(takeAsked(), ElementsAre("/config"));
    EXPECT_EQ(take(), std::pair(0.0, std::string("Bearer remote")));
    beside.runAll();
    EXPECT_THAT(asked, IsEmpty()) << "it is left alone for a while";
}

TEST_F(ServiceInTheWay, WhoHasNoKeyWaitsFiveSecondsAndNotAgainSoon) {
    EXPECT_EQ(take(), std::pair(5.0, std::string("none"))) << "for the registration and the configuration together";
    EXPECT_EQ(take(), std::pair(0.0, std::string("none")));
    clock.advance(59);
    EXPECT_EQ(take(), std::pair(0.0, std::string("none")));
    clock.advance(1);
    isHanging = false;
    EXPECT_EQ(take(), std::pair(0.0, std::string("Bearer remote")));
}

TEST_F(ServiceInTheWay, ASignInHasItAskedAtOnce) {
    EXPECT_EQ(take().second, "none");
    isHanging = false;
    takeAsked();
    keeper.askAgain();
    beside.runAll();
    EXPECT_THAT(takeAsked(), ElementsAre("/register", "/config"));
    EXPECT_EQ(take(), std::pair(0.0, std::string("Bearer remote")));
    keeper.askAgain();
    EXPECT_EQ(beside.pending(), 0u) << "what is fresh counts";
}

TEST_F(ServiceInTheWay, RewritingWaitsOnceAtMost) {
    SmartRewrite rewriting{config, deployment, http, keys, clock};
    config.update([](Settings& settings) { settings.smartRewriteModel = SmartRewriteModel::automatic; });
    const auto rewrite = [&] {
        const double start = clock.now();
        rewriting.rewrite("some words", {}, "en", {}, {});
        return clock.now() - start;
    };
    store.values["groq_api_key"] = "own";
    http.onSend = [this](const HttpRequest& request) {
        HttpResponse response = answer(request);
        if (request.url.starts_with("https://groq"))
            response.body = R"({"choices": [{"message": {"content": "Some words."}}]})";
        return response;
    };
    EXPECT_EQ(rewrite(), 0) << "for the key of the other model";
    store.values.clear();
    keys.forgetKeyring(CloudService::groq);
    EXPECT_EQ(rewrite(), 5);
    clock.advance(60);
    EXPECT_EQ(rewrite(), 0) << "the words can do without, and the service did not answer";
    EXPECT_EQ(beside.pending(), 1u) << "it is asked beside";
}

TEST_F(ServiceInTheWay, ANewKeyOfTheServiceCountsAtOnce) {
    isHanging = false;
    EXPECT_EQ(take().second, "Bearer remote");
    http.onSend = [this](const HttpRequest& request) {
        HttpResponse response = answer(request);
        if (request.url.ends_with("/config"))
            response.body =
                R"({"groq_api_key": "newer", "transcription_provider": 7, "gemini_api_key": "a\u0007b\nc"})";
        return response;
    };
    clock.advance(1800);
    EXPECT_EQ(take().second, "Bearer remote") << "until it is fetched";
    beside.runAll();
    EXPECT_EQ(take().second, "Bearer newer");
    EXPECT_EQ(keys.find(CloudService::gemini, KeyUse::rewriting, {}), std::nullopt) << "no such header";
}
