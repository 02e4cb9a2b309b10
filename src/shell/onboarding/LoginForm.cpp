#include "shell/onboarding/LoginForm.h"

#include "base/Log.h"
#include "base/Text.h"

#include <utility>

namespace fenlo {

LoginForm::LoginForm(SignIn signIn) : m_signIn(std::move(signIn)) {}

void LoginForm::begin(SignInProvider provider) {
    if (!isOffered() || m_waitingFor)
        return;
    m_error.clear();
    m_waitingFor = provider;
    m_changes.tell();
    m_signIn.begin(provider, m_lifetime.bind([this, provider, attempt = ++m_attempt](const SignInResult& result) {
        if (attempt == m_attempt && m_waitingFor)
            done(provider, result);
    }));
}

void LoginForm::cancel() {
    if (!std::exchange(m_waitingFor, std::nullopt))
        return;
    m_signIn.cancel();
    m_changes.tell();
}

void LoginForm::done(SignInProvider provider, const SignInResult& result) {
    const bool isApple = provider == SignInProvider::apple;
    m_waitingFor.reset();
    m_error = result.error;
    if (!m_error.empty())
        logInfo("{} failed: {}", isApple ? "Apple login" : "Login", m_error);
    else
        logInfo("Login success ({}): {}{}", isApple ? "Apple" : "Google", result.name,
                isApple && result.email.empty() ? " (no email)" : "");
    m_lacksEmail = m_error.empty() && result.email.empty();
    m_changes.tell();
    if (m_error.empty() && onSignedIn)
        onSignedIn(result.name, result.email);
}

/// Whether mail could be sent there is not for us to know; a slip of the finger is.
bool LoginForm::isEmail(const std::string& text) {
    const auto at = text.find('@');
    const auto dot = text.rfind('.');
    return at != std::string::npos && at > 0 && text.find('@', at + 1) == std::string::npos &&
           dot != std::string::npos && dot > at + 1 && dot + 1 < text.size() &&
           text.find_first_of(" \t\r\n,;") == std::string::npos;
}

void LoginForm::giveEmail(const std::string& email) {
    const std::string trimmed = text::trimWhitespaceAndNewlines(email);
    if (!isEmail(trimmed))
        return;
    m_lacksEmail = false;
    m_signIn.giveEmail(trimmed);
    m_changes.tell();
}

} // namespace fenlo
