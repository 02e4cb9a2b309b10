#include "support/account/AccountServices.h"

#include <algorithm>

namespace fenlo::test {

struct AccountServices::Endpoint {
    std::string_view name;
    std::string_view method;
    std::string_view path;
    AccountReply (*answer)(AccountServices& services, const WireRequest& request);
};

namespace {

constexpr const char* googleAuthPath = "/o/oauth2/auth";
constexpr const char* googleTokenPath = "/token";
constexpr const char* googleUserPath = "/oauth2/v2/userinfo";
constexpr const char* appleAuthPath = "/auth/authorize";
constexpr const char* successPath = "/auth/success";

AccountReply success(AccountServices&, const WireRequest&) {
    return page(200, "You are signed in", "<p>You can close this page and go back to Fenlo.</p>");
}

} // namespace

const std::vector<AccountServices::Endpoint>& AccountServices::endpoints() {
    using S = AccountServices&;
    using R = const WireRequest&;
    constexpr auto note = [](S s, R r) { return s.m_backend.note(r); };
    static const std::vector<Endpoint> all = {
        {"backend/register", "POST", "/api/v1/register", [](S s, R r) { return s.m_backend.registerDevice(r); }},
        {"backend/config", "GET", "/api/v1/config", [](S s, R r) { return s.m_backend.config(r); }},
        {"backend/heartbeat", "POST", "/api/v1/heartbeat", note},
        {"backend/event", "POST", "/api/v1/event", note},
        {"backend/profile", "POST", "/api/v1/profile", note},
        {"backend/login", "POST", "/api/v1/login", [](S s, R r) { return s.m_backend.login(r); }},
        {"backend/stats", "POST", "/api/v1/stats/sync", [](S s, R r) { return s.m_backend.syncStatistics(r); }},
        {"backend/mail", "POST", "/api/v1/meeting/email", [](S s, R r) { return s.m_backend.mail(r); }},
        {"backend/success", "GET", successPath, success},
        {"google/auth", "GET", googleAuthPath, [](S s, R r) { return s.m_google.authorize(r); }},
        {"google/decide", "POST", "/google/decide", [](S s, R r) { return s.m_google.decide(r); }},
        {"google/token", "POST", googleTokenPath, [](S s, R r) { return s.m_google.token(r); }},
        {"google/user", "GET", googleUserPath, [](S s, R r) { return s.m_google.userInfo(r); }},
        {"apple/auth", "GET", appleAuthPath, [](S s, R r) { return s.m_apple.authorize(r); }},
        {"apple/decide", "POST", "/apple/decide", [](S s, R r) { return s.m_apple.decide(r); }},
        {"apple/callback", "POST", "/api/v1/auth/apple/callback", [](S s, R r) { return s.m_apple.callback(r); }},
        {"apple/status", "GET", "/api/v1/auth/apple/status", [](S s, R r) { return s.m_apple.status(r); }},
        {"updates/feed", "GET", UpdateFeed::path, [](S s, R r) { return s.m_updates.feed(r); }},
        {"updates/package", "GET", UpdateFeed::packagePath, [](S s, R r) { return s.m_updates.package(r); }},
    };
    return all;
}

std::string AccountServices::endpointOf(const WireRequest& request) {
    const std::string_view path = std::string_view(request.target).substr(0, request.target.find('?'));
    const auto found = std::ranges::find_if(endpoints(), [&](const Endpoint& endpoint) {
        return endpoint.path == path && endpoint.method == request.method;
    });
    return found == endpoints().end() ? "" : std::string(found->name);
}

std::vector<std::string> AccountServices::endpointsNamed(const std::string& name) {
    std::vector<std::string> names;
    for (const Endpoint& endpoint : endpoints())
        if (endpoint.name == name || endpoint.name.starts_with(name + "/"))
            names.emplace_back(endpoint.name);
    return names;
}

AccountReply AccountServices::answer(const std::string& endpoint, const WireRequest& request) {
    return std::ranges::find(endpoints(), endpoint, &Endpoint::name)->answer(*this, request);
}

void AccountServices::forget(const std::string& group) {
    if (group == "backend")
        m_backend.forget();
    else if (group == "google")
        m_google.forget();
    else if (group == "apple")
        m_apple.forget();
}

nlohmann::json AccountServices::deployment(const std::string& address) const {
    return {{"service_host", address},
            {"success_page", address + successPath},
            {"google_client_id", GoogleSignIn::clientId},
            {"google_client_secret", GoogleSignIn::clientSecret},
            {"google_auth_uri", address + googleAuthPath},
            {"google_token_uri", address + googleTokenPath},
            {"google_user_info_uri", address + googleUserPath},
            {"apple_services_id", AppleSignIn::servicesId},
            {"apple_auth_uri", address + appleAuthPath},
            {"update_feed", address + UpdateFeed::path},
            {"update_key", m_updates.key()}};
}

} // namespace fenlo::test
