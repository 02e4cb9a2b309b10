#include "settings/KeyTrial.h"

#include "platform/HttpClient.h"
#include "settings/ApiKey.h"
#include "settings/Deployment.h"

#include <cstdlib>

namespace fenlo {

namespace {

constexpr double trialLimit = 10; // seconds

/// What is asked shows something of the account or of the service to those who have a key, and to nobody else.
HttpRequest requestFor(CloudService service, const std::string& key, const Deployment& deployment) {
    HttpRequest request;
    request.timeout = trialLimit;
    switch (service) {
    case CloudService::groq:
        request.url = deployment.groqHost + "/openai/v1/models";
        request.headers = {{"Authorization", "Bearer " + key}};
        return request;
    case CloudService::gemini:
        request.url = deployment.geminiHost + "/v1beta/models?pageSize=1";
        request.headers = {{"x-goog-api-key", key}};
        return request;
    case CloudService::deepgram:
        request.url = deployment.deepgramHost + "/v1/auth/token";
        request.headers = {{"Authorization", "Token " + key}};
        return request;
    case CloudService::grok:
        request.url = deployment.xaiHost + "/v1/api-key";
        request.headers = {{"Authorization", "Bearer " + key}};
        return request;
    }
    std::abort();
}

KeyVerdict verdictOf(const HttpResponse& answer) {
    if (answer.status >= 200 && answer.status < 300)
        return KeyVerdict::accepted;
    if (answer.status == 429)
        return KeyVerdict::limited;
    return apiKey::isRefused(answer.status, answer.body) ? KeyVerdict::refused : KeyVerdict::noVerdict;
}

} // namespace

KeyVerdict tryKey(CloudService service, const std::string& key, const Deployment& deployment, HttpClient& http,
                  std::stop_token stop) try {
    return verdictOf(http.send(requestFor(service, key, deployment), stop));
} catch (const HttpError& error) {
    switch (error.kind) {
    case HttpError::Kind::cancelled:
        return KeyVerdict::cancelled;
    case HttpError::Kind::timeout:
        return KeyVerdict::noAnswer;
    case HttpError::Kind::tooLarge:
        return KeyVerdict::noVerdict;
    case HttpError::Kind::connection:
    case HttpError::Kind::tls:
    case HttpError::Kind::badUrl:
        break;
    }
    return KeyVerdict::noNetwork;
}

std::string describe(KeyVerdict verdict, CloudService service) {
    const std::string label = serviceKey(service).label;
    switch (verdict) {
    case KeyVerdict::accepted:
        return label + " accepts this key.";
    case KeyVerdict::limited:
        return label + " knows this key, but takes no more requests for now: its limit is used up.";
    case KeyVerdict::refused:
        return label + " refuses this key. Check that it was copied whole and has not expired.";
    case KeyVerdict::noNetwork:
        return label + " cannot be reached. Check the network; the key is kept.";
    case KeyVerdict::noAnswer:
        return label + " did not answer in time. Try again later; the key is kept.";
    case KeyVerdict::noVerdict:
        return label + " has a fault of its own and said nothing about this key. Try again later.";
    case KeyVerdict::cancelled:
        break;
    }
    return {};
}

} // namespace fenlo
