#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace fenlo {

class AccountStore;
class Background;
class Clock;
class HttpClient;
class MainQueue;
class Workspace;
struct Deployment;

/// What a way to sign in works with. All outlive it.
struct SignInServices {
    const Deployment& deployment;
    HttpClient& http;
    AccountStore& store;
    Workspace& workspace; // opens the browser
    Clock& clock;
    MainQueue& mainQueue;
    Background& background;
};

inline constexpr std::size_t longestSignInReply = 256u << 10u; // bytes that a provider may answer with

/// Told when no browser could be opened, as far as that can be known. The sign-in goes on: the user may open the
/// address by hand.
using NoBrowser = std::function<void(const std::string& address)>;

} // namespace fenlo
