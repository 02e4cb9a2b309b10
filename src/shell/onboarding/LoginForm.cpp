#include "shell/onboarding/LoginForm.h"

#include "base/Log.h"
#include "base/Text.h"

#include <utility>

namespace fenlo {

LoginForm::LoginForm(SignIn signIn, std::function<void(const std::string&)> copy)
    : m_signIn(std::move(signIn)), m_copy(std::move(copy)) {}

LoginForm::~LoginForm() {
    if (m_waitingFor)
        m_signIn.cancel();
}

void LoginForm::begin(SignInProvider provider) {
    if (!isOffered(provider))
        return;
    m_error.clear();
    m_address.clear();
    m_waitingFor = provider;
    m_changes.tell();
    const auto isCurrent = [this, attempt = ++m_attempt] { return attempt == m_attempt && m_waitingFor; };
    m_signIn.begin(provider, {.done = m_lifetime.bind([this, provider, isCurrent](const SignInResult& result) {
                                  if (isCurrent())
                                      done(provider, result);
                              }),
                              .noBrowser = m_lifetime.bind([this, isCurrent](const std::string& address) {
                                  if (!isCurrent())
                                      return;
                                  m_address = address;
                                  m_changes.tell();
                              })});
}

std::string LoginForm::waitingText() const {
    if (!m_waitingFor)
        return "";
    return m_waitingFor == SignInProvider::apple ? "Waiting for Apple sign-in..." : "Waiting for your browser...";
}

std::string LoginForm::browserText() const {
    return m_address.empty() ? "" : "No web browser opened; copy the address and open it in one yourself.";
}

void LoginForm::cancel() {
    if (!std::exchange(m_waitingFor, std::nullopt))
        return;
    m_address.clear();
    m_signIn.cancel();
    m_changes.tell();
}

void LoginForm::done(SignInProvider provider, const SignInResult& result) {
    const bool isApple = provider == SignInProvider::apple;
    m_waitingFor.reset();
    m_address.clear();
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
