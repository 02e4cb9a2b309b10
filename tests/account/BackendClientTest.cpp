#include "BackendFixture.h"

#include <atomic>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using Json = nlohmann::json;

class ServiceClient : public BackendFixture {};

/// What came of a request to a service that answers so; "nothing" without a result.
std::string resultOf(ServiceClient& test, const ServiceStandIn::Answer& answer) {
    test.service.answer("/config", answer);
    const auto reply = test.backend.request("GET", "/config", nullptr, "t", {});
    return reply ? writeJson(*reply) : "nothing";
}

} // namespace

TEST_F(ServiceClient, EveryReplyIsAResultOrNothing) {
    const auto reply = [](const std::string& text) { return writeJson(Json{{"text", text}}); };
    const auto mode = [&](const std::string& name) {
        return [=](const WireRequest&, std::stop_token stop) { return answerInMode(name, "x", 0, reply, stop); };
    };
    const auto body = [](int status, const std::string& text) {
        return [=](auto&&...) { return httpAnswer(status, "text/html", text); };
    };
    EXPECT_EQ(resultOf(*this, mode("ok")), R"({"text":"x"})");
    for (const char* name : {"html", "garbage", "utf8", "close", "partial", "huge"})
        EXPECT_EQ(resultOf(*this, mode(name)), "nothing") << name;
    for (const std::string& useless :
         {std::string("[1]"), std::string("7"), std::string(),
          "{\"a\":" + std::string(20000, '[') + std::string(20000, ']') + "}", std::string(10u << 20, ' ') + "{}"})
        EXPECT_EQ(resultOf(*this, body(200, useless)), "nothing") << useless.substr(0, 9);
    EXPECT_EQ(resultOf(*this, body(500, R"({"error": "e"})")), R"({"_status":500,"error":"e"})");
    EXPECT_EQ(resultOf(*this, body(201, R"(["e"])")), R"({"_status":201})");
    EXPECT_EQ(resultOf(*this, body(503, std::string(10u << 20, 'x'))), R"({"_status":503})");
    EXPECT_EQ(resultOf(*this, body(401, R"({"error": "e"})")), R"({"_status":401})");
    EXPECT_EQ(resultOf(*this, body(401, std::string(10u << 20, 'x'))), R"({"_status":401})");

    const WireRequest sent = service.requests().back();
    EXPECT_EQ(sent.method + " " + sent.target, "GET /api/v1/config");
    EXPECT_EQ(sent.header("Authorization"), "Bearer t");
    EXPECT_EQ(sent.header("Content-Type"), "application/json");
    EXPECT_EQ(sent.body, "");
}

TEST_F(ServiceClient, AFirstStartRegistersBeforeItAsksForTheConfiguration) {
    EXPECT_EQ(backend.getConfig({}), service.config());
    const auto requests = service.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(parseJson(requests[0].body), (Json{{"device_id", machine.config.get().deviceId},
                                                 {"machine_name", "desk"},
                                                 {"os_version", "Debian 12"},
                                                 {"app_version", "1.2.3"}}));
    EXPECT_EQ(requests[0].header("Authorization"), "") << "there is no token yet";
    EXPECT_EQ(requests[1].header("Authorization"), "Bearer " + machine.store.values.at("backend_token"));
    EXPECT_TRUE(log.contains("[Fenlo] Backend: registered"));
    EXPECT_TRUE(log.contains("[Fenlo] Backend: config fetched"));
    EXPECT_THAT(service.takeCalls(), ElementsAre("POST /register", "GET /config"));

    Machine nameless(service.server().url(), http);
    BackendClient unknown(nameless.services(), service.server().url(), {});
    unknown.registerInstallation({});
    EXPECT_EQ(lastBody().at("machine_name"), "Linux");
    EXPECT_EQ(lastBody().at("app_version"), "unknown");
}

TEST_F(ServiceClient, EveryOperationTellsWhatItIsFor) {
    machine.config.update([](Settings& settings) {
        settings.profession = "lawyer";
        settings.professionRole = "partner";
        settings.professionSpecialties = {"tax"};
        settings.dictationTypes = {"letters", "notes"};
        settings.lawyerPracticeAreas = {"family"};
        settings.dictationMode = DictationMode::personal;
    });
    const std::string device = machine.config.get().deviceId;
    backend.heartbeat({});
    EXPECT_EQ(lastBody(), (Json{{"app_version", "1.2.3"}}));
    backend.sendEvent("onboarding.welcome", {});
    EXPECT_EQ(lastBody(), (Json{{"event_type", "onboarding.welcome"}}));
    EXPECT_TRUE(log.contains("[Fenlo] Backend: event sent — onboarding.welcome"));
    backend.sendLogin("ada@example.org", "Ada", {});
    EXPECT_EQ(lastBody(), (Json{{"email", "ada@example.org"}, {"name", "Ada"}, {"device_id", device}}));
    EXPECT_TRUE(log.contains("[Fenlo] Backend: login sent for ada@example.org"));
    backend.syncProfile({});
    EXPECT_EQ(lastBody(), (Json{{"device_id", device},
                                {"profession", "lawyer"},
                                {"profession_role", "partner"},
                                {"profession_specialties", {"tax"}},
                                {"dictation_types", {"letters", "notes"}},
                                {"practice_areas", {"family"}},
                                {"dictation_mode", "personal"}}));
    EXPECT_TRUE(log.contains("[Fenlo] Backend: profile synced"));
    EXPECT_THAT(service.takeCalls(),
                ElementsAre("POST /register", "POST /heartbeat", "POST /event", "POST /login", "POST /profile"));

    // What the service refuses is not told as done.
    const LogCapture since;
    service.answer("/event", 500, "{}");
    service.answer("/profile", 200, "<html>");
    backend.sendEvent("onboarding.done", {});
    backend.syncProfile({});
    EXPECT_THAT(since.lines(), IsEmpty());
}

TEST_F(ServiceClient, ARejectedTokenIsReplacedOnce) {
    backend.heartbeat({});
    service.forgetTokens();
    service.takeCalls();
    const std::string rejected = machine.store.values.at("backend_token");
    EXPECT_EQ(backend.getConfig({}), service.config());
    EXPECT_THAT(service.takeCalls(), ElementsAre("GET /config", "POST /register", "GET /config"));
    EXPECT_NE(machine.store.values.at("backend_token"), rejected);

    service.answer("/heartbeat", 401, "{}");
    backend.heartbeat({});
    EXPECT_THAT(service.takeCalls(), ElementsAre("POST /heartbeat", "POST /register", "POST /heartbeat"));

    // Nothing goes out with a token that is none; a line end in it would begin another header.
    machine.store.values.clear();
    for (const auto& [status, body] : std::vector<std::pair<int, std::string>>{{500, R"({"error": "e"})"},
                                                                               {200, "<html>"},
                                                                               {200, R"({"token": 7})"},
                                                                               {200, R"({"token": ""})"},
                                                                               {200, R"({"token": "a\r\nX-B: c"})"}}) {
        service.answer("/register", status, body);
        backend.sendEvent("onboarding.done", {});
        EXPECT_THAT(service.takeCalls(), ElementsAre("POST /register")) << body;
    }
    EXPECT_EQ(machine.store.values.count("backend_token"), 0u);
}

TEST_F(ServiceClient, WithoutAKeyringTheTokenCountsUntilTheEnd) {
    machine.store.isAvailable = false;
    backend.heartbeat({});
    backend.heartbeat({});
    EXPECT_THAT(service.takeCalls(), ElementsAre("POST /register", "POST /heartbeat", "POST /heartbeat"));
}

TEST_F(ServiceClient, TheConfigurationCountsForHalfAnHour) {
    EXPECT_EQ(backend.getConfig({}), service.config());
    service.takeCalls();
    machine.clock.advance(1799);
    EXPECT_EQ(backend.getConfig({}), service.config());
    EXPECT_THAT(service.takeCalls(), IsEmpty());

    machine.clock.advance(1);
    const Json old = service.config();
    for (const char* useless : {"<html>", R"({"gemini_api_key": "g"})"}) {
        service.answer("/config", 200, useless);
        EXPECT_EQ(backend.getConfig({}), old) << "the stale one, for " << useless;
        EXPECT_FALSE(backend.isConfigFresh());
    }
    service.answer("/config", 500, R"({"error": "e"})");
    EXPECT_EQ(backend.getConfig({}), old);
    EXPECT_THAT(service.takeCalls(), ElementsAre("GET /config", "GET /config", "GET /config"));

    service.answer("/config", {});
    service.changeKey("newer");
    EXPECT_EQ(backend.getConfig({}), service.config());
}

TEST_F(ServiceClient, TwoAtOnceRegisterOnce) {
    for (int round = 0; round < 5; ++round) {
        machine.store.values.clear();
        service.forgetTokens();
        service.takeCalls();
        {
            const std::jthread one([&] { backend.sendEvent("onboarding.login", {}); });
            const std::jthread other([&] { backend.sendEvent("onboarding.login", {}); });
        }
        EXPECT_EQ(std::ranges::count(service.takeCalls(), "POST /register"), 1);
    }
}

TEST_F(ServiceClient, AStopEndsTheWaitOfTheFirstAndOfTheOther) {
    std::atomic<int> waiting = 0;
    service.answer("/register", [&](const WireRequest&, std::stop_token stop) {
        ++waiting;
        hang(stop);
        return WireAnswer{{}, true};
    });
    std::jthread first([&](std::stop_token stop) { backend.heartbeat(stop); });
    while (waiting < 1)
        std::this_thread::yield();
    {
        std::jthread second([&](std::stop_token stop) { backend.heartbeat(stop); });
        second.request_stop();
    } // joined, while the first still waits
    EXPECT_EQ(waiting, 1);
    std::jthread third([&](std::stop_token stop) { backend.heartbeat(stop); });
    first.request_stop(); // which is no answer for the third: it asks by itself
    while (waiting < 2)
        std::this_thread::yield();
}

TEST_F(ServiceClient, AMailIsSentWhenTheServiceSaysSo) {
    const Json mail{{"email", "ada@example.org"},
                    {"subject", "s"},
                    {"notes", Json::object()},
                    {"meeting_date", "Nov 15, 2026, 9:30 AM"},
                    {"duration", "1:00"}};
    using enum BackendClient::MailAnswer;
    EXPECT_TRUE(backend.sendMeetingEmail(mail, {}));
    EXPECT_EQ(lastBody(), mail);
    EXPECT_TRUE(backend.sendMeetingEmail(mail, {}, success));
    service.answer("/meeting/email", 500, "{}");
    EXPECT_TRUE(backend.sendMeetingEmail(mail, {}, any));
    EXPECT_FALSE(backend.sendMeetingEmail(mail, {}, success));
    service.answer("/meeting/email", 200, "<html>");
    EXPECT_FALSE(backend.sendMeetingEmail(mail, {}, any));
    service.takeCalls();
    service.answer("/meeting/email", 401, "{}");
    EXPECT_FALSE(backend.sendMeetingEmail(mail, {}, any));
    EXPECT_THAT(service.takeCalls(), ElementsAre("POST /meeting/email", "POST /register", "POST /meeting/email"));
}

TEST_F(ServiceClient, WithoutAServiceNothingIsAskedOrLookedUp) {
    Machine alone("", http);
    int looks = 0;
    alone.store.onLoad = [&] { ++looks; };
    alone.statistics.recordDictation("some words", 1);
    EXPECT_EQ(alone.backend.getConfig({}), std::nullopt);
    EXPECT_EQ(alone.backend.registerInstallation({}), std::nullopt);
    EXPECT_EQ(alone.backend.request("GET", "/config", nullptr, "t", {}), std::nullopt);
    alone.backend.heartbeat({});
    alone.backend.sendEvent("onboarding.login", {});
    alone.backend.sendLogin("ada@example.org", "Ada", {});
    alone.backend.syncProfile({});
    alone.backend.syncStats({});
    EXPECT_FALSE(alone.backend.sendMeetingEmail(Json::object(), {}));
    EXPECT_EQ(looks, 0);
    EXPECT_EQ(alone.statistics.unsyncedEntries().size(), 1u);
}
