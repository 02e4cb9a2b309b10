#include "account/AppleAuthManager.h"

#include "account/AccountItems.h"
#include "account/AccountStore.h"
#include "account/BackendTransport.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Url.h"
#include "platform/HttpClient.h"
#include "platform/Workspace.h"
#include "settings/Deployment.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace fenlo {

namespace {

constexpr int mostPolls = 60;
constexpr double pollPause = 2.0; // seconds
constexpr double pollingLimit = mostPolls * pollPause;
constexpr double shortestTimeout = 2.0; // seconds of one poll
constexpr double longestTimeout = 60.0;

AppleStatus ask(HttpClient& http, const HttpRequest& request, int attempt, std::stop_token stop) {
    try {
        const HttpResponse response = http.send(request, stop);
        return readAppleStatus(response.status, response.body);
    } catch (const HttpError& error) {
        if (error.kind != HttpError::Kind::cancelled)
            logInfo("Apple auth poll attempt {} failed: {}", attempt, error.what());
        return {};
    }
}

bool saveAppleUser(Keychain& keychain, const AppleStatus& user, const std::string& session, std::stop_token stop) {
    if (stop.stop_requested())
        return false;
    if (!user.email.empty())
        keychain.save(accountItem::userEmail, user.email);
    keychain.save(accountItem::userName, user.name);
    keychain.save(accountItem::refreshToken, accountItem::applePrefix + session);
    keychain.save(accountItem::provider, accountItem::apple);
    // Of a sign-in with Google before: with its expiry the session's id would be sent to Google as a refresh token.
    keychain.remove(accountItem::accessToken);
    keychain.remove(accountItem::tokenExpiry);
    logInfo("Apple: signed in as {}", user.email.empty() ? "(no email)" : user.email);
    return true;
}

} // namespace

std::string AppleAuthManager::AuthError::description() const {
    switch (kind) {
    case Kind::failed:
        return message;
    case Kind::noEmail:
        return "No email received from Apple";
    case Kind::cancelled:
        return "Login cancelled";
    case Kind::timeout:
        return "Login timed out";
    }
    return "";
}

AppleAuthManager::AppleAuthManager(const SignInServices& services)
    : m_services(services), m_servicesId(services.deployment.appleServicesId),
      m_redirectUri(services.deployment.serviceHost + servicePath + "/auth/apple/callback"),
      m_baseUrl(services.deployment.serviceHost + servicePath) {}

void AppleAuthManager::signIn(Completion completion, NoBrowser noBrowser) {
    cancel();
    m_attempt = std::make_unique<Attempt>(m_services.mainQueue, m_services.background);
    m_completion = std::move(completion);
    m_session = files::makeUuid();
    m_polls = 0;
    m_end = m_services.clock.now() + pollingLimit;
    const std::string address = authorizationAddress();
    m_services.workspace.openUrl(address,
                                 m_attempt->bind([noBrowser = std::move(noBrowser), address] { noBrowser(address); }));
    waitForPoll();
}

std::string AppleAuthManager::authorizationAddress() const {
    const auto encoded = [](const std::string& value) { return url::percentEncode(value, ""); };
    return m_services.deployment.appleAuthUri + "?client_id=" + encoded(m_servicesId) +
           "&redirect_uri=" + encoded(m_redirectUri) + "&response_type=" + encoded("code id_token") +
           "&scope=" + encoded("name email") + "&response_mode=form_post&state=" + encoded(m_session);
}

/// The user cannot have finished before the first one either.
void AppleAuthManager::waitForPoll() {
    m_pollTimer = m_services.mainQueue.postAfter(pollPause, [this] { poll(); });
}

/// A service that hangs cannot stretch the attempt: no poll may take longer than what is left of it.
void AppleAuthManager::poll() {
    HttpRequest request;
    request.url = m_baseUrl + "/auth/apple/status?session=" + m_session;
    request.timeout = std::clamp(m_end - m_services.clock.now(), shortestTimeout, longestTimeout);
    request.maxResponseBytes = longestSignInReply;
    m_attempt->run([&http = m_services.http, request,
                    attempt = ++m_polls](std::stop_token stop) { return ask(http, request, attempt, stop); },
                   [this](const AppleStatus& status) { take(status); });
}

void AppleAuthManager::take(const AppleStatus& status) {
    using Kind = AppleStatus::Kind;
    if (status.kind == Kind::ok)
        keepUser(status);
    else if (status.kind == Kind::failed)
        finish(AuthError{AuthError::Kind::failed, status.error});
    else if (m_polls >= mostPolls || m_services.clock.now() >= m_end)
        finish(AuthError{AuthError::Kind::timeout});
    else
        waitForPoll();
}

void AppleAuthManager::keepUser(const AppleStatus& user) {
    m_isKeeping = true;
    m_services.store.run([user, session = m_session, stop = m_attempt->token()](
                             Keychain& keychain) { return saveAppleUser(keychain, user, session, stop); },
                         m_attempt->bind([this, user](bool) {
                             finish(AppleUser{user.email, user.name});
                         }));
}

void AppleAuthManager::finish(const Result& result) {
    m_pollTimer.cancel();
    m_attempt.reset();
    m_isKeeping = false;
    m_session.clear();
    if (const auto completion = std::exchange(m_completion, nullptr))
        completion(result);
}

void AppleAuthManager::cancel() {
    m_pollTimer.cancel();
    m_attempt.reset();
    m_completion = nullptr;
    m_session.clear();
    if (std::exchange(m_isKeeping, false))
        m_services.store.forget([](bool) {});
}

} // namespace fenlo
