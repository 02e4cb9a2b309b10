#include "account/BackendClient.h"

#include "account/BackendTransport.h"
#include "account/StatisticsEntries.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "settings/Config.h"
#include "settings/Keychain.h"
#include "settings/StoredKeys.h"
#include "shell/StatisticsStore.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace fenlo {

using Json = nlohmann::json;

namespace {

constexpr double configTTL = 1800.0;                  // seconds
constexpr std::size_t maxStatisticsBytes = 16u << 20; // the history of years
constexpr std::size_t entriesAtOnce = 1000;           // so that a long history passes within the time-out
constexpr double never = std::numeric_limits<double>::infinity();

std::string orElse(const std::string& text, const char* fallback) {
    return text.empty() ? fallback : text;
}

bool succeeded(const std::optional<Json>& reply) {
    return reply && failedStatus(*reply) == 0;
}

} // namespace

BackendClient::BackendClient(Services services, const std::string& serviceHost, Installation installation)
    : m_services(services), m_baseURL(serviceHost.empty() ? "" : serviceHost + servicePath),
      m_installation(std::move(installation)) {}

std::optional<Json> BackendClient::request(const std::string& method, const std::string& path, const Json* body,
                                           const std::string& token, std::stop_token stop) {
    return ask({.method = method, .path = path, .body = body, .token = token}, never, stop);
}

/// Within the time-out, and before `end`.
std::optional<Json> BackendClient::ask(ServiceRequest request, double end, std::stop_token stop) {
    request.timeout = std::min(request.timeout, end - m_services.clock.now());
    if (!hasService() || request.timeout <= 0)
        return {};
    return askService(m_services.http, m_baseURL, request, stop);
}

std::optional<std::string> BackendClient::token() {
    if (auto stored = m_services.keychain.load(backendTokenAccount); stored && !stored->empty())
        return stored;
    std::string unstored = m_state.with([](const State& state) { return state.unstoredToken; });
    return unstored.empty() ? std::nullopt : std::optional(std::move(unstored));
}

std::optional<std::string> BackendClient::registerInstallation(std::stop_token stop) {
    return registerUntil(never, stop);
}

std::optional<std::string> BackendClient::registerUntil(double end, std::stop_token stop) {
    const Json body{{"device_id", m_services.config.get().deviceId},
                    {"machine_name", orElse(m_installation.machineName, "Linux")},
                    {"os_version", m_installation.osVersion},
                    {"app_version", orElse(m_installation.appVersion, "unknown")}};
    const auto reply = ask({.method = "POST", .path = "/register", .body = &body}, end, stop);
    if (!reply || !reply->contains("token") || !reply->at("token").is_string())
        return {};
    // It goes into a header, where a line end would begin another.
    auto token = checkedKey(reply->at("token").get_ref<const std::string&>());
    if (!token)
        return {};
    m_services.keychain.save(backendTokenAccount, *token);
    // Without a keyring it counts until the program ends.
    const bool isStored = m_services.keychain.load(backendTokenAccount) == token;
    m_state.with([&](State& state) { state.unstoredToken = isStored ? std::string() : *token; });
    logInfo("Backend: registered");
    return token;
}

std::optional<std::string> BackendClient::freshToken(const std::string& rejected, double end, std::stop_token stop) {
    return m_registration.run(
        [&]() -> std::optional<std::string> {
            // Another caller may have registered since this one looked.
            if (auto other = token(); other && other != rejected)
                return other;
            return registerUntil(end, stop);
        },
        stop);
}

/// With the token, and once more with a new one when the service rejects it.
std::optional<Json> BackendClient::authorized(ServiceRequest request, double end, std::stop_token stop) {
    if (!hasService())
        return {};
    auto valid = token();
    if (!valid)
        valid = freshToken({}, end, stop);
    if (!valid)
        return {};
    request.token = *valid;
    auto reply = ask(request, end, stop);
    if (!reply || failedStatus(*reply) != 401)
        return reply;
    valid = freshToken(*valid, end, stop);
    if (!valid)
        return {};
    request.token = *valid;
    return ask(std::move(request), end, stop);
}

bool BackendClient::post(const std::string& path, const Json& body, std::stop_token stop) {
    return succeeded(authorized({.method = "POST", .path = path, .body = &body}, never, stop));
}

std::optional<Json> BackendClient::getConfig(std::stop_token stop) {
    if (!isConfigFresh()) {
        const double end = m_services.clock.now() + serviceTimeout;
        auto reply =
            authorized({.method = "GET", .path = "/config", .maxReplyBytes = maxConfigurationBytes}, end, stop);
        if (reply && reply->contains("groq_api_key")) {
            auto config = std::make_shared<const Json>(std::move(*reply));
            m_state.with([&](State& state) {
                state.configCache = std::move(config);
                state.configFetchedAt = m_services.clock.now();
            });
            logInfo("Backend: config fetched");
        }
    }
    const auto config = configInMemory();
    return config ? std::optional(*config) : std::nullopt;
}

std::shared_ptr<const Json> BackendClient::configInMemory() const {
    return m_state.with([](const State& state) { return state.configCache; });
}

bool BackendClient::isConfigFresh() const {
    const double now = m_services.clock.now();
    return m_state.with(
        [&](const State& state) { return state.configCache && now - state.configFetchedAt < configTTL; });
}

void BackendClient::heartbeat(std::stop_token stop) {
    post("/heartbeat", {{"app_version", orElse(m_installation.appVersion, "unknown")}}, stop);
}

void BackendClient::sendEvent(const std::string& eventType, std::stop_token stop) {
    if (post("/event", {{"event_type", eventType}}, stop))
        logInfo("Backend: event sent — {}", eventType);
}

void BackendClient::sendLogin(const std::string& email, const std::string& name, std::stop_token stop) {
    if (post("/login", {{"email", email}, {"name", name}, {"device_id", m_services.config.get().deviceId}}, stop))
        logInfo("Backend: login sent for {}", email);
}

void BackendClient::syncProfile(std::stop_token stop) {
    const Settings settings = m_services.config.get();
    const Json body{{"device_id", settings.deviceId},
                    {"profession", settings.profession},
                    {"profession_role", settings.professionRole},
                    {"profession_specialties", settings.professionSpecialties},
                    {"dictation_types", settings.dictationTypes},
                    {"practice_areas", settings.lawyerPracticeAreas},
                    {"dictation_mode", settings.dictationMode.word()}};
    if (post("/profile", body, stop))
        logInfo("Backend: profile synced");
}

bool BackendClient::syncStats(std::stop_token stop) {
    if (!hasService())
        return true;
    StatisticsStore& store = m_services.statistics;
    const std::vector<Json> unsynced = store.unsyncedEntries();
    std::size_t sent = 0;
    do {
        const auto first = unsynced.begin() + static_cast<std::ptrdiff_t>(sent);
        const std::vector<Json> some(
            first, first + static_cast<std::ptrdiff_t>(std::min(entriesAtOnce, unsynced.size() - sent)));
        const auto words = m_services.config.get().offlineMode ? SpokenWords::stayHere : SpokenWords::mayLeave;
        const Json body{{"entries", statisticsEntries(some, words)},
                        {"baseline", statisticsBaseline(store.allTimeStats())}};
        const auto reply = authorized(
            {.method = "POST", .path = "/stats/sync", .body = &body, .maxReplyBytes = maxStatisticsBytes}, never, stop);
        if (!succeeded(reply))
            return false;
        store.markSynced(idsOf(some));
        store.applyServerStats(*reply);
        logInfo("Stats: synced {} entries, merged from server", some.size());
        sent += some.size();
    } while (sent < unsynced.size());
    return true;
}

bool BackendClient::sendMeetingEmail(const Json& body, std::stop_token stop, MailAnswer counts) {
    const auto reply = authorized({.method = "POST", .path = "/meeting/email", .body = &body}, never, stop);
    if (!reply)
        return false;
    const int status = failedStatus(*reply);
    return counts == MailAnswer::any ? status != 401 : status == 0;
}

} // namespace fenlo
