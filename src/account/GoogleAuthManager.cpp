#include "account/GoogleAuthManager.h"

#include "account/AccountItems.h"
#include "account/AccountStore.h"
#include "account/GoogleWire.h"
#include "account/Redirect.h"
#include "account/RedirectAnswers.h"
#include "base/AskWorker.h"
#include "base/Clock.h"
#include "base/Dates.h"
#include "base/Log.h"
#include "platform/HttpClient.h"
#include "platform/LoopbackListener.h"
#include "platform/Workspace.h"
#include "settings/Deployment.h"

#include <chrono>
#include <optional>
#include <utility>

namespace fenlo {

namespace {

constexpr double browserLimit = 120.0;                     // seconds for the user in the browser
constexpr std::chrono::duration<double> enoughTime{300.0}; // seconds of a token that needs no renewal

/// The body of the answer, whatever its status; empty when there is none. `purpose` is for the log, which gets neither
/// what was sent nor what came.
std::string bodyOf(HttpClient& http, const HttpRequest& request, const char* purpose, std::stop_token stop) {
    try {
        HttpResponse response = http.send(request, stop);
        if (response.status != 200)
            logError("Google auth: {} was answered with status {}", purpose, response.status);
        return std::move(response.body);
    } catch (const HttpError& error) {
        if (error.kind != HttpError::Kind::cancelled)
            logError("Google auth: {} failed: {}", purpose, error.what());
        return {};
    }
}

/// Nothing is kept of an attempt that is over.
bool saveTokens(Keychain& keychain, const GoogleTokens& tokens, const std::string& expiry, std::stop_token stop) {
    if (stop.stop_requested())
        return false;
    keychain.save(accountItem::accessToken, tokens.accessToken);
    if (!tokens.refreshToken.empty()) {
        keychain.save(accountItem::refreshToken, tokens.refreshToken);
        logInfo("Google: refresh token saved");
    } else {
        // One that is left may be another user's, or the session of a sign-in with Apple.
        keychain.remove(accountItem::refreshToken);
        logInfo("Google: WARNING — no refresh token in response");
    }
    keychain.save(accountItem::tokenExpiry, expiry);
    keychain.remove(accountItem::provider); // whoever signed in before may have used Apple
    return true;
}

bool saveGoogleUser(Keychain& keychain, const GoogleUser& user, std::stop_token stop) {
    if (stop.stop_requested())
        return false;
    keychain.save(accountItem::userEmail, user.email);
    keychain.save(accountItem::userName, user.name);
    logInfo("Google: signed in as {}", user.email);
    return true;
}

} // namespace

std::string_view GoogleAuthManager::description(AuthError error) {
    switch (error) {
    case AuthError::noCode:
        return "No authorization code received";
    case AuthError::tokenExchangeFailed:
        return "Failed to exchange code for tokens";
    case AuthError::userInfoFailed:
        return "Failed to fetch user info";
    case AuthError::cancelled:
        return "Login cancelled";
    case AuthError::timeout:
        return "Login timed out";
    }
    return "";
}

GoogleAuthManager::GoogleAuthManager(const SignInServices& services, LoopbackListener& listener)
    : m_services(services), m_listener(listener) {}

GoogleAuthManager::~GoogleAuthManager() {
    m_listener.stop();
}

void GoogleAuthManager::signIn(Completion completion, NoBrowser noBrowser) {
    drop();
    m_attempt = std::make_unique<Attempt>(m_services.mainQueue, m_services.background);
    m_completion = std::move(completion);
    m_noBrowser = std::move(noBrowser);
    m_codeVerifier = googleWire::newVerifier();
    const auto error = m_codeVerifier.empty()
                           ? std::optional<std::string>("the system has no random numbers")
                           : m_listener.start({.onReady = [this](std::uint16_t port) { ready(port); },
                                               .onRequest = [this](const auto& request) { return answer(request); },
                                               .onFailed = [this](const auto& fault) { listenerFailed(fault); }});
    if (!error)
        return;
    logError("Google auth: failed to create listener: {}", *error);
    finishLater(AuthError::tokenExchangeFailed);
}

void GoogleAuthManager::ready(std::uint16_t port) {
    if (port == 0) {
        listenerFailed("it has no port");
        return;
    }
    m_redirectUri = "http://localhost:" + std::to_string(port);
    const std::string address = googleWire::authorizationAddress(m_services.deployment, m_redirectUri, m_codeVerifier);
    m_services.workspace.openUrl(address, m_attempt->bind([noBrowser = m_noBrowser, address] { noBrowser(address); }));
    m_timeout = m_services.mainQueue.postAfter(browserLimit, [this] { finish(AuthError::timeout); });
}

/// What an attempt has kept goes with it: its tokens alone would count as a user who is signed in.
void GoogleAuthManager::drop() {
    stopListening();
    m_attempt.reset();
    if (std::exchange(m_hasKept, false))
        m_services.store.forget([](bool) {});
}

void GoogleAuthManager::listenerFailed(const std::string& error) {
    logError("Google auth: listener failed: {}", error);
    finish(AuthError::noCode);
}

void GoogleAuthManager::stopListening() {
    m_listener.stop();
    m_timeout.cancel();
}

/// What is no request of the web, such as the probe of a port scan, is neither answered nor the end of the attempt. Any
/// request is, also one without a code: only what runs on this machine can send one, and it costs the user another
/// press of the button. Browsers ask for an icon once they show a page of ours, and that is when all is over.
std::string GoogleAuthManager::answer(const std::string& request) {
    const auto redirect = readRedirect(request);
    if (!redirect)
        return {};
    stopListening();
    if (!redirect->code) {
        finishLater(AuthError::noCode);
        return redirectAnswers::failure();
    }
    exchange(*redirect->code);
    return redirectAnswers::success(m_services.deployment.successPage);
}

void GoogleAuthManager::exchange(const std::string& code) {
    m_attempt->run([&http = m_services.http, request = googleWire::exchangeRequest(
                                                 m_services.deployment, {code, m_redirectUri, m_codeVerifier})](
                       std::stop_token stop) { return readTokens(bodyOf(http, request, "the exchange", stop)); },
                   [this](const std::optional<GoogleTokens>& tokens) {
                       if (tokens)
                           keepTokens(*tokens);
                       else
                           finish(AuthError::tokenExchangeFailed);
                   });
    m_codeVerifier.clear();
}

void GoogleAuthManager::keepTokens(const GoogleTokens& tokens) {
    m_hasKept = true;
    m_services.store.run([tokens, expiry = expiryOf(tokens), stop = m_attempt->token()](
                             Keychain& keychain) { return saveTokens(keychain, tokens, expiry, stop); },
                         m_attempt->bind([this, tokens](bool) { fetchUser(tokens.accessToken); }));
}

void GoogleAuthManager::fetchUser(const std::string& accessToken) {
    m_attempt->run(
        [&http = m_services.http, request = googleWire::userRequest(m_services.deployment, accessToken)](
            std::stop_token stop) { return readUser(bodyOf(http, request, "the question who signed in", stop)); },
        [this](const std::optional<GoogleUser>& user) {
            if (user)
                keepUser(*user);
            else
                finish(AuthError::userInfoFailed);
        });
}

void GoogleAuthManager::keepUser(const GoogleUser& user) {
    m_services.store.run(
        [user, stop = m_attempt->token()](Keychain& keychain) { return saveGoogleUser(keychain, user, stop); },
        m_attempt->bind([this, user](bool) { finish(user); }));
}

void GoogleAuthManager::finish(const Result& result) {
    stopListening();
    m_attempt.reset();
    m_hasKept = false;
    if (const auto completion = std::exchange(m_completion, nullptr))
        completion(result);
}

/// For those who are in the middle of something.
void GoogleAuthManager::finishLater(AuthError error) {
    m_services.mainQueue.post(m_attempt->bind([this, error] { finish(error); }));
}

void GoogleAuthManager::cancel() {
    drop();
    if (const auto completion = std::exchange(m_completion, nullptr))
        m_services.mainQueue.post(m_lifetime.bind([completion] { completion(AuthError::cancelled); }));
}

std::string GoogleAuthManager::expiryOf(const GoogleTokens& tokens) const {
    using namespace std::chrono;
    return dates::isoTimestamp(m_services.clock.wallTime() +
                               duration_cast<system_clock::duration>(duration<double>(tokens.lifetime)));
}

void GoogleAuthManager::refreshIfNeeded(Told done) {
    m_services.store.run(
        [&clock = m_services.clock](Keychain& keychain) -> Renewing {
            const auto stored = keychain.load(accountItem::tokenExpiry);
            const auto expiry = stored ? dates::parseIso(*stored) : std::nullopt;
            if (!expiry)
                return {};
            if (*expiry - clock.wallTime() > enoughTime)
                return {Renewal::unneeded};
            const auto token = keychain.load(accountItem::refreshToken);
            // The session of a sign-in with Apple is no business of Google's.
            if (!token || token->starts_with(accountItem::applePrefix))
                return {};
            return {Renewal::possible, *token};
        },
        m_lifetime.bind([this, done = std::move(done)](const Renewing& found) {
            if (found.renewal == Renewal::possible)
                renew(found.refreshToken, done);
            else
                done(found.renewal == Renewal::unneeded);
        }));
}

void GoogleAuthManager::renew(const std::string& refreshToken, Told done) {
    askWorker(
        m_services.background, m_services.mainQueue, m_lifetime,
        [&http = m_services.http, request = googleWire::renewalRequest(m_services.deployment, refreshToken)](
            std::stop_token stop) { return readTokens(bodyOf(http, request, "the renewal", stop)); },
        [this, refreshToken, done = std::move(done)](const std::optional<GoogleTokens>& tokens) {
            if (tokens)
                keepRenewed(*tokens, refreshToken, done);
            else
                done(false);
        });
}

/// Only while the same user is signed in: he may have signed out meanwhile, or another one in.
void GoogleAuthManager::keepRenewed(const GoogleTokens& tokens, const std::string& refreshToken, Told done) {
    m_services.store.run(
        [tokens, refreshToken, expiry = expiryOf(tokens)](Keychain& keychain) {
            if (keychain.load(accountItem::refreshToken) != refreshToken)
                return false;
            keychain.save(accountItem::accessToken, tokens.accessToken);
            keychain.save(accountItem::tokenExpiry, expiry);
            logInfo("Google: token refreshed");
            return true;
        },
        m_lifetime.bind([done = std::move(done)](bool isKept) { done(isKept); }));
}

void GoogleAuthManager::signOut(std::function<void()> done) {
    m_services.store.forget(m_lifetime.bind([done = std::move(done)](bool) { done(); }));
}

} // namespace fenlo
