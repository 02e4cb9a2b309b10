#include "app/ServiceDiagnosis.h"
#include "app/RoadFixture.h"
#include "settings/Deployment.h"
#include "support/FakeHttpClient.h"
#include "support/FakeSecureStore.h"

using namespace fenlo;
using namespace fenlo::test;

namespace {

using State = Diagnosis::State;

struct ServiceDiagnosis : RoadFixture {
    Diagnosis finding(int status, const std::string& body) {
        http.onSend = [=](const HttpRequest&) { return HttpResponse{status, {}, body}; };
        std::vector<Diagnosis> findings;
        facts.remote = diagnoseService(findings, deployment, store, http);
        return findings.empty() ? Diagnosis() : findings.front();
    }

    Deployment deployment{
        .groqHost = {}, .supportAddress = {}, .subtitleSiteDomain = {}, .serviceHost = "https://service.example"};
    FakeHttpClient http;
    FakeSecureStore store;
};

} // namespace

TEST_F(ServiceDiagnosis, SaysWhetherTheServiceAnswers) {
    EXPECT_EQ(finding(401, "").finding,
              "https://service.example answers; this installation is registered when Fenlo starts");
    EXPECT_EQ(http.requests.size(), 1u) << "it registers nothing";
    EXPECT_EQ(http.requests.at(0).url, "https://service.example/api/v1/config");
    store.values["backend_token"] = "t";
    EXPECT_EQ(finding(401, "").state, State::works);
    EXPECT_EQ(finding(503, "{}").finding, "https://service.example answers with the status 503");
    EXPECT_EQ(finding(200, "<html>").state, State::limited);
    EXPECT_EQ(finding(200, "<html>").finding, "https://service.example does not answer as the service would");
    EXPECT_EQ(keySource(CloudService::groq, KeyUse::speech, facts), "");

    EXPECT_EQ(finding(200, R"({"groq_api_key": "g", "n": 1})").finding, "https://service.example answers");
    EXPECT_EQ(keySource(CloudService::groq, KeyUse::speech, facts), "key from the service");
    EXPECT_EQ(keySource(CloudService::deepgram, KeyUse::speech, facts), "");
    keys[CloudService::groq] = KeyPlace::keyring;
    EXPECT_EQ(keySource(CloudService::groq, KeyUse::rewriting, facts), "key from the service") << "as it is asked";

    http.requests.clear();
    deployment.serviceHost.clear();
    EXPECT_EQ(finding(200, "{}").subject, "");
    EXPECT_TRUE(http.requests.empty());
}
