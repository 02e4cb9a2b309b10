#pragma once

#include "account/AppleStatus.h"
#include "account/Attempt.h"
#include "account/SignInServices.h"

#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace fenlo {

struct AppleUser {
    std::string email; // may be empty
    std::string name;
};

/// Signs in with Apple, whose answer goes to the service: the browser is opened with a session id of ours, and the
/// service is asked every two seconds, for two minutes, what has become of it. The id is a secret: who knows it can
/// read the result.
///
/// Threads:  main thread, the callbacks too.
/// Errors:   each attempt ends in one call of its completion, or in none where it was cancelled or another attempt
///           takes its place.
/// Lifetime: nothing is called after its end.
class AppleAuthManager {
public:
    struct AuthError {
        enum class Kind { failed, noEmail, cancelled, timeout };

        Kind kind = Kind::failed;
        std::string message = {}; // of `failed`

        std::string description() const; // for the screen
    };

    using Result = std::variant<AppleUser, AuthError>;
    using Completion = std::function<void(const Result&)>;

    explicit AppleAuthManager(const SignInServices& services);
    AppleAuthManager(const AppleAuthManager&) = delete;
    AppleAuthManager& operator=(const AppleAuthManager&) = delete;

    /// An attempt that runs is dropped, with its completion.
    void signIn(
        Completion completion, NoBrowser noBrowser = [](const std::string&) {});
    /// The completion is not called, and nothing is left in the secure store.
    void cancel();

private:
    std::string authorizationAddress() const;
    void waitForPoll();
    void poll();
    void take(const AppleStatus& status);
    void keepUser(const AppleStatus& user);
    void finish(const Result& result);

    const SignInServices m_services;
    const std::string m_servicesId;
    const std::string m_redirectUri;
    const std::string m_baseUrl;
    std::string m_session;
    int m_polls = 0;
    double m_end = 0; // by the clock, of the whole attempt
    Completion m_completion;
    Timer m_pollTimer;
    bool m_isKeeping = false; // the user is on the way into the secure store
    std::unique_ptr<Attempt> m_attempt;
};

} // namespace fenlo
