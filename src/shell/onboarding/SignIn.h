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
/// Threads: main thread, the callback too.
struct SignIn {
    std::function<void(SignInProvider, std::function<void(SignInResult)> done)> begin;
    /// Gives the running sign-in up.
    std::function<void()> cancel = [] {};
    /// The address that the user typed, where the provider gave none.
    std::function<void(const std::string& email)> giveEmail = [](const std::string&) {};

    bool isOffered() const { return begin != nullptr; }
};

} // namespace fenlo
