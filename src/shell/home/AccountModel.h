#pragma once

#include "account/AccountStore.h"
#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/NotificationCenter.h"

#include <optional>
#include <string>

namespace fenlo {

class HomeViewModel;

/// The page of the account: who is signed in and how, the way out, and the way in for who goes without one.
///
/// Threads: main thread; the keyring is read on a worker.
class AccountModel {
public:
    /// All of them outlive the model.
    struct Services {
        AccountStore& account;
        HomeViewModel& settings; // signs out
        NotificationCenter& notifications;
        bool isOffered = false; // whether the deployment has somebody to sign in to
    };
    enum class State { reading, nobody, user, keyringSilent };

    explicit AccountModel(const Services& services);

    bool isOffered() const { return m_services.isOffered; }
    /// Looks who is signed in; a page that opens calls it. The user may be asked to unlock the keyring.
    void refresh();
    /// The same, also after the keyring was refused.
    void lookAgain();

    State state() const { return m_state; }
    bool isSigningOut() const { return m_isSigningOut; }
    std::string title() const;
    std::string hint() const;

    /// Opens the login.
    void signIn();
    /// After the question of these texts. The login comes in the place of the home window; or the hint says why not.
    void signOut();
    static std::string questionTitle();
    static std::string questionText();

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void take(const SignedIn& found);
    void refused();

    const Services m_services;
    State m_state = State::reading;
    SignedIn m_user;
    bool m_isSigningOut = false;
    bool m_isRefused = false; // the last sign-out
    Changes m_changes;
    std::vector<NotificationCenter::Observation> m_observations;
    Lifetime m_lifetime;
};

} // namespace fenlo
