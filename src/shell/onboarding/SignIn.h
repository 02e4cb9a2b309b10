#pragma once

#include <functional>
#include <string>

namespace fenlo {

enum class SignInProvider { google, apple };

/// What came of a sign-in. Cancelled ones are not told.
struct SignInResult {
    std::string error; // one line for the user; empty when it worked
    std::string name;
    std::string email; // may be empty
};

/// The way to an account. Without it no provider is offered.
///
/// Threads: main thread, the callbacks too.
struct SignIn {
    struct Told {
        std::function<void(const SignInResult&)> done;
        /// No browser could be opened. The sign-in goes on, and the user may open the address by hand.
        std::function<void(const std::string& address)> noBrowser;
    };

    /// One that runs is given up, and its callbacks are not called any more.
    std::function<void(SignInProvider, Told)> begin;
    /// Gives the running sign-in up.
    std::function<void()> cancel = [] {};
    /// The address that the user typed, where the provider gave none.
    std::function<void(const std::string& email)> giveEmail = [](const std::string&) {};
    bool hasGoogle = true;
    bool hasApple = true;

    bool isOffered(SignInProvider provider) const {
        return begin && (provider == SignInProvider::google ? hasGoogle : hasApple);
    }
    bool isOffered() const { return isOffered(SignInProvider::google) || isOffered(SignInProvider::apple); }
};

} // namespace fenlo
