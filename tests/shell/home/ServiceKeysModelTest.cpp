#include "shell/home/ServiceKeysModel.h"

#include "settings/Deployment.h"
#include "settings/Keychain.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeHttpClient.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

using State = ServiceKeyRow::State;
using Work = ServiceKeyRow::Work;

struct ServiceKeysModelTest : ::testing::Test {
    void settle() {
        background.runAll();
        queue.runPosted();
    }
    const ServiceKeyRow& groq() const { return model.row(CloudService::groq); }

    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    FakeSecureStore store;
    FakeHttpClient http;
    Keychain keychain{store};
    ServiceKeys keys{keychain, {}, "", KeyringUse::forEveryUse};
    static Deployment ofThese() {
        Deployment hosts;
        hosts.groqHost = "http://groq";
        hosts.geminiHost = "http://gemini";
        hosts.deepgramHost = "http://deepgram";
        hosts.xaiHost = "http://xai";
        hosts.serviceHost = "http://service";
        return hosts;
    }
    const Deployment deployment = ofThese();
    ServiceKeysModel model{{store, keys, deployment, http, queue, background}};
};

} // namespace

TEST_F(ServiceKeysModelTest, ARowTellsWhereTheKeyIs) {
    EXPECT_EQ(groq().state, State::reading);
    store.values["gemini_api_key"] = "k";
    const EnvironmentVariable variable("XAI_API_KEY", "k");
    model.refresh();
    EXPECT_EQ(groq().state, State::reading) << "the keyring blocks: it is asked on a worker";
    settle();
    EXPECT_EQ(groq().state, State::absent);
    EXPECT_EQ(model.row(CloudService::gemini).state, State::keyring);
    EXPECT_EQ(model.row(CloudService::grok).status(), "Key from XAI_API_KEY in the environment");
    EXPECT_FALSE(model.row(CloudService::grok).canRemove());
    store.isAvailable = false;
    model.refresh();
    settle();
    EXPECT_EQ(groq().state, State::keyringSilent);
    EXPECT_EQ(store.askedAgain, 2) << "the user is at the screen and can unlock it";
}

TEST_F(ServiceKeysModelTest, AKeyOfTheAccountIsTold) {
    const auto atHand = [] { return std::optional(ServiceKeys::Configuration{{"groq_api_key", "g"}}); };
    ServiceKeys given(keychain, {[](std::stop_token) { return ServiceKeys::Configuration(); }, atHand}, "");
    ServiceKeysModel account({store, given, deployment, http, queue, background});
    account.refresh();
    background.runAll();
    queue.runPosted();
    EXPECT_EQ(account.row(CloudService::groq).status(), "Key from your account");
    EXPECT_EQ(account.row(CloudService::groq).hint(), account.row(CloudService::groq).purpose);
    EXPECT_EQ(account.row(CloudService::gemini).status(), "No key");
}

TEST_F(ServiceKeysModelTest, NoKeyIsAskedForThatNothingWouldUse) {
    Deployment withoutService = deployment;
    withoutService.serviceHost.clear();
    ServiceKeysModel its({store, keys, withoutService, http, queue, background});
    EXPECT_EQ(model.rows().size(), its.rows().size() + 1);
    for (const ServiceKeyRow& row : its.rows())
        EXPECT_NE(row.service, CloudService::deepgram) << "only the service chooses it";
}

TEST_F(ServiceKeysModelTest, AKeyIsKeptTriedAndCountsAtOnce) {
    EXPECT_EQ(keys.find(CloudService::groq, KeyUse::speech, {}), std::nullopt);
    const LogCapture log;
    EXPECT_FALSE(model.enter(CloudService::groq, "two words"));
    EXPECT_FALSE(model.enter(CloudService::groq, " \n"));
    EXPECT_THAT(groq().note.text, HasSubstr("no key"));
    EXPECT_TRUE(model.enter(CloudService::groq, "  gsk-secret\n"));
    EXPECT_EQ(groq().work, Work::storing);
    EXPECT_FALSE(model.enter(CloudService::groq, "other")) << "one work at a time";
    http.onSend = [&](const HttpRequest& request) {
        queue.runPosted();
        EXPECT_EQ(groq().work, Work::trying);
        EXPECT_EQ(request.method + " " + request.url, "GET http://groq/openai/v1/models");
        return HttpResponse{200, {}, "{}"};
    };
    settle();
    EXPECT_EQ(groq().note.text, "Groq accepts this key.");
    EXPECT_EQ(groq().state, State::keyring);
    EXPECT_EQ(keys.find(CloudService::groq, KeyUse::speech, {}), "gsk-secret");

    model.enter(CloudService::groq, "second");
    settle();
    EXPECT_EQ(keys.find(CloudService::groq, KeyUse::speech, {}), "second");
    model.remove(CloudService::groq);
    settle();
    EXPECT_EQ(groq().state, State::absent);
    EXPECT_EQ(keys.find(CloudService::groq, KeyUse::speech, {}), std::nullopt);
    EXPECT_TRUE(store.values.empty());
    EXPECT_THAT(log.lines(), ::testing::Not(::testing::Contains(HasSubstr("secret"))));
}

TEST_F(ServiceKeysModelTest, TheServicesWordIsToldInOneSentence) {
    using Kind = HttpError::Kind;
    store.values = {{"groq_api_key", "a"}, {"gemini_api_key", "b"}, {"deepgram_api_key", "c"}, {"xai_api_key", "d"}};
    const auto verdictOn = [&](CloudService service, int status, const std::string& body = "") {
        http.onSend = [=](const HttpRequest&) { return HttpResponse{status, {}, body}; };
        model.test(service);
        settle();
        return model.row(service).note;
    };
    const auto verdictOnError = [&](Kind kind) {
        http.onSend = [=](const HttpRequest&) -> HttpResponse { throw HttpError(kind, "why"); };
        model.test(CloudService::groq);
        settle();
        return groq().note.text;
    };
    for (const ServiceKey& key : serviceKeys()) {
        EXPECT_EQ(verdictOn(key.service, 200).kind, Note::Kind::good);
        for (const int status : {401, 403})
            EXPECT_EQ(verdictOn(key.service, status).kind, Note::Kind::error);
        EXPECT_THAT(http.requests.back().url, ::testing::StartsWith("http://"));
        EXPECT_THAT(http.requests.back().url, ::testing::Not(HasSubstr("key=")));
    }
    EXPECT_THAT(verdictOn(CloudService::gemini, 400, R"({"reason": "API_KEY_INVALID"})").text, HasSubstr("refuses"));
    EXPECT_THAT(verdictOn(CloudService::groq, 429).text, HasSubstr("limit"));
    EXPECT_THAT(verdictOn(CloudService::groq, 503).text, HasSubstr("fault of its own"));
    EXPECT_THAT(verdictOnError(Kind::connection), HasSubstr("cannot be reached"));
    EXPECT_THAT(verdictOnError(Kind::timeout), HasSubstr("did not answer in time"));
}

TEST_F(ServiceKeysModelTest, ASilentKeyringRefusesTheKeyInOneSentence) {
    store.isAvailable = false;
    EXPECT_TRUE(model.enter(CloudService::groq, "k"));
    settle();
    EXPECT_EQ(groq().work, Work::none);
    EXPECT_EQ(groq().note.kind, Note::Kind::error);
    EXPECT_THAT(groq().note.text, HasSubstr("not kept"));
    EXPECT_TRUE(http.requests.empty());
}
