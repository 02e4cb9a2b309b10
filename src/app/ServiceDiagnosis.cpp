#include "app/ServiceDiagnosis.h"

#include "account/BackendTransport.h"
#include "account/ConfigurationKeeper.h"
#include "platform/SecureStore.h"
#include "settings/Deployment.h"

#include <nlohmann/json.hpp>
#include <string>

namespace fenlo {

namespace {

using State = Diagnosis::State;

constexpr char meanwhile[] = "dictation does not wait for it where a key is in the keyring or the environment";

Diagnosis finding(const std::string& host, const std::optional<nlohmann::json>& reply, bool hasToken) {
    if (!reply)
        return {"service", State::limited, host + " does not answer as the service would",
                std::string("check the connection and the proxy; ") + meanwhile};
    const int status = failedStatus(*reply);
    if (status == 0)
        return {"service", State::works, host + " answers", ""};
    if (status == 401)
        return {"service", State::works,
                host + (hasToken ? " answers; it will register this installation anew"
                                 : " answers; this installation is registered when Fenlo starts"),
                ""};
    return {"service", State::limited, host + " answers with the status " + std::to_string(status),
            std::string("try again later; ") + meanwhile};
}

} // namespace

RemoteConfiguration::Values diagnoseService(std::vector<Diagnosis>& findings, const Deployment& deployment,
                                            SecureStore& store, HttpClient& http) {
    if (!deployment.hasService())
        return {};
    const std::string token = store.load(backendTokenAccount).text;
    const auto reply =
        askService(http, deployment.serviceHost + servicePath,
                   {.method = "GET", .path = "/config", .token = token, .maxReplyBytes = maxConfigurationBytes}, {});
    findings.push_back(finding(deployment.serviceHost, reply, !token.empty()));
    return reply && failedStatus(*reply) == 0 ? textsOf(*reply) : RemoteConfiguration::Values();
}

} // namespace fenlo
