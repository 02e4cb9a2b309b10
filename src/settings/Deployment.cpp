#include "settings/Deployment.h"

#include "base/Environment.h"
#include "base/Files.h"
#include "base/Json.h"
#include "base/Log.h"

#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

void takeValues(const nlohmann::json& values, Deployment& deployment) {
    const auto take = [&](const char* key, std::string& field) {
        if (const auto found = values.find(key); found != values.end() && found->is_string())
            field = found->get<std::string>();
    };
    take("groq_host", deployment.groqHost);
    take("support_address", deployment.supportAddress);
    take("subtitle_site_domain", deployment.subtitleSiteDomain);
    take("model_repository", deployment.modelRepository);
    take("offline_model", deployment.offlineModel);
    take("gemini_host", deployment.geminiHost);
    take("deepgram_host", deployment.deepgramHost);
    take("xai_host", deployment.xaiHost);
    take("xai_api_key", deployment.xaiApiKey);
    take("service_host", deployment.serviceHost);
    take("success_page", deployment.successPage);
    take("google_client_id", deployment.googleClientId);
    take("google_client_secret", deployment.googleClientSecret);
    take("google_auth_uri", deployment.googleAuthUri);
    take("google_token_uri", deployment.googleTokenUri);
    take("google_user_info_uri", deployment.googleUserInfoUri);
    take("apple_services_id", deployment.appleServicesId);
    take("apple_auth_uri", deployment.appleAuthUri);
    take("update_feed", deployment.updateFeed);
    take("update_key", deployment.updateKey);
}

} // namespace

bool Deployment::offersGoogle() const {
    return hasService() && !googleClientId.empty() && !googleAuthUri.empty() && !googleTokenUri.empty() &&
           !googleUserInfoUri.empty();
}

Deployment Deployment::load() {
    Deployment deployment;
    takeValues(parseJsonOrThrow(defaults), deployment);

    const std::string path = environment("FENLO_DEPLOYMENT");
    if (path.empty())
        return deployment;
    const auto content = files::read(path);
    const auto values = parseJson(content.value_or(""));
    if (values.is_object())
        takeValues(values, deployment);
    else
        logError("FENLO_DEPLOYMENT names {}, which is no readable JSON object; the built-in values stay", path);
    return deployment;
}

} // namespace fenlo
