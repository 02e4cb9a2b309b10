#pragma once

#include "account/Attempt.h"
#include "account/GoogleReplies.h"
#include "account/SignInServices.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace fenlo {

class LoopbackListener;

/// Signs in with Google: the authorization code flow with PKCE. The system's browser does the login and is sent back to
/// a listener of ours on this machine. Who signed in, and the tokens, go into the secure store.
///
/// The address that the browser opens holds no `state`: a redirect that somebody else forges, with a code of his own,
/// is refused in the exchange, because that code does not belong to our verifier. Code, verifier and tokens are in no
/// log line and no error text.
///
/// Threads:  main thread, the callbacks too.
/// Errors:   each attempt ends in one call of its completion, or in none where another attempt takes its place.
/// Lifetime: nothing is called after its end.
class GoogleAuthManager {
public:
    enum class AuthError { noCode, tokenExchangeFailed, userInfoFailed, cancelled, timeout };
    /// For the screen.
    static std::string_view description(AuthError error);

    using Result = std::variant<GoogleUser, AuthError>;
    using Completion = std::function<void(const Result&)>;

    GoogleAuthManager(const SignInServices& services, LoopbackListener& listener);
    ~GoogleAuthManager();
    GoogleAuthManager(const GoogleAuthManager&) = delete;
    GoogleAuthManager& operator=(const GoogleAuthManager&) = delete;

    /// An attempt that runs is dropped, with its completion.
    void signIn(
        Completion completion, NoBrowser noBrowser = [](const std::string&) {});
    /// The attempt leaves nothing in the secure store.
    void cancel();

    /// Renews the access token when it runs out within five minutes. Tells whether there is a usable one then.
    void refreshIfNeeded(std::function<void(bool isUsable)> done);
    /// Forgets who is signed in, whichever way that was.
    void signOut(std::function<void()> done);

private:
    enum class Renewal { unneeded, impossible, possible };
    struct Renewing {
        Renewal renewal = Renewal::impossible;
        std::string refreshToken = {};
    };
    using Told = std::function<void(bool)>;

    void ready(std::uint16_t port);
    std::string answer(const std::string& request);
    void stopListening();
    void drop();
    void listenerFailed(const std::string& error);
    void exchange(const std::string& code);
    void keepTokens(const GoogleTokens& tokens);
    void fetchUser(const std::string& accessToken);
    void keepUser(const GoogleUser& user);
    void finish(const Result& result);
    void finishLater(AuthError error);
    void renew(const std::string& refreshToken, Told done);
    void keepRenewed(const GoogleTokens& tokens, const std::string& refreshToken, Told done);
    std::string expiryOf(const GoogleTokens& tokens) const;

    const SignInServices m_services;
    LoopbackListener& m_listener;
    std::string m_codeVerifier;
    std::string m_redirectUri;
    NoBrowser m_noBrowser;
    Completion m_completion; // empty: idle
    Timer m_timeout;
    bool m_hasKept = false; // the attempt has something in the secure store
    std::unique_ptr<Attempt> m_attempt;
    Lifetime m_lifetime;
};

} // namespace fenlo
