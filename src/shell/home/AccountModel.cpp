#include "shell/home/AccountModel.h"

#include "shell/home/HomeViewModel.h"

namespace fenlo {

AccountModel::AccountModel(const Services& services) : m_services(services) {
    for (const char* change : {notification::accountChanged, notification::userDidSignOut})
        m_observations.push_back(m_services.notifications.observe(change, [this](const auto&) { refresh(); }));
}

void AccountModel::refresh() {
    if (!isOffered())
        return;
    m_services.account.read(m_lifetime.bind([this](const SignedIn& found) { take(found); }));
}

void AccountModel::lookAgain() {
    m_services.account.askAgain();
    m_state = State::reading;
    m_changes.tell();
    refresh();
}

void AccountModel::take(const SignedIn& found) {
    m_isSigningOut = false;
    m_isRefused = m_isRefused && found.state != SignedIn::State::nobody;
    m_user = found;
    switch (found.state) {
    case SignedIn::State::nobody:
        m_state = State::nobody;
        break;
    case SignedIn::State::user:
        m_state = State::user;
        break;
    case SignedIn::State::unknown:
        m_state = State::keyringSilent;
        break;
    }
    m_changes.tell();
}

std::string AccountModel::title() const {
    switch (m_state) {
    case State::reading:
        return "Looking who is signed in…";
    case State::nobody:
        return "You use Fenlo without an account";
    case State::keyringSilent:
        return "Your keyring does not answer";
    case State::user:
        break;
    }
    return m_user.name.empty() ? m_user.email : m_user.name;
}

std::string AccountModel::hint() const {
    if (m_isRefused && m_state != State::nobody)
        return "The sign-in is still in your keyring, which did not let it go: unlock the keyring, then sign out "
               "again.";
    const std::string way = m_user.isApple ? "Signed in with Apple" : "Signed in with Google";
    switch (m_state) {
    case State::reading:
        return "";
    case State::nobody:
        return "Dictation works all the same. An account brings the statistics of your computers together and has "
               "meeting notes mailed to you.";
    case State::keyringSilent:
        return "It may be locked, so Fenlo cannot see who is signed in. Dictation goes on.";
    case State::user:
        break;
    }
    return m_user.email.empty() || m_user.name.empty() ? way : m_user.email + "\n" + way;
}

void AccountModel::signIn() {
    m_services.notifications.post(notification::userWantsSignIn);
}

void AccountModel::signOut() {
    if (m_state != State::user || m_isSigningOut)
        return;
    m_isSigningOut = true;
    m_isRefused = false;
    m_changes.tell();
    m_services.settings.signOut(m_lifetime.bind([this] { refused(); }));
}

void AccountModel::refused() {
    m_isRefused = true;
    refresh();
}

std::string AccountModel::questionTitle() {
    return "Sign out?";
}

std::string AccountModel::questionText() {
    return "Your settings, words, history, meetings and keys stay on this computer. The sign-in goes from your "
           "keyring, and this window closes. The login comes next, and dictation waits until you are through with it "
           "or close it.";
}

} // namespace fenlo
