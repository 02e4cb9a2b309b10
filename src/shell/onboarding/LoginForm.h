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
    /// `copy` puts a text on the clipboard.
    LoginForm(SignIn signIn, std::function<void(const std::string&)> copy);
    /// Gives a running sign-in up.
    ~LoginForm();
    LoginForm(const LoginForm&) = delete;
    LoginForm& operator=(const LoginForm&) = delete;

    /// Called at each successful sign-in.
    std::function<void(const std::string& name, const std::string& email)> onSignedIn;

    bool isOffered(SignInProvider provider) const { return m_signIn.isOffered(provider); }
    /// Another one takes the place of one that is under way: the user may have lost the tab of the first.
    void begin(SignInProvider provider);
    void cancel();
    std::optional<SignInProvider> waitingFor() const { return m_waitingFor; }
    /// While one is under way; else empty.
    std::string waitingText() const;
    /// What to do where no browser opened; else empty.
    std::string browserText() const;
    /// The address that would have been opened.
    void copyAddress() { m_copy(m_address); }
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
    const std::function<void(const std::string&)> m_copy;
    std::optional<SignInProvider> m_waitingFor;
    unsigned m_attempt = 0;
    std::string m_address; // for the browser that did not open
    std::string m_error;
    bool m_lacksEmail = false;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
