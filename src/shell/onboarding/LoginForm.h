#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "shell/onboarding/SignIn.h"

#include <optional>
#include <string>

namespace fenlo {

/// The login screen, and the one for an address where sign-in gave none.
///
/// Threads: main thread only.
class LoginForm {
public:
    explicit LoginForm(SignIn signIn);
    LoginForm(const LoginForm&) = delete;
    LoginForm& operator=(const LoginForm&) = delete;

    /// Called at each successful sign-in.
    std::function<void(const std::string& name, const std::string& email)> onSignedIn;

    bool isOffered() const { return m_signIn.isOffered(); }
    /// Ignored while one is under way.
    void begin(SignInProvider provider);
    void cancel();
    std::optional<SignInProvider> waitingFor() const { return m_waitingFor; }
    /// Why the last sign-in failed; empty when it did not.
    const std::string& error() const { return m_error; }

    /// Whether the user signed in and the provider kept the address to itself.
    bool lacksEmail() const { return m_lacksEmail; }
    static bool isEmail(const std::string& text);
    void giveEmail(const std::string& email);

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void done(SignInProvider provider, const SignInResult& result);

    const SignIn m_signIn;
    std::optional<SignInProvider> m_waitingFor;
    unsigned m_attempt = 0;
    std::string m_error;
    bool m_lacksEmail = false;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
