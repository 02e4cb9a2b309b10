#pragma once

#include "base/Guarded.h"
#include "support/account/AccountReply.h"

#include <map>

namespace fenlo::test {

/// A sign-in with Apple: Apple's page, which asks what to share, and the service's side, to which Apple's answer goes
/// and which the program asks for it.
///
/// Threads: any.
class AppleSignIn {
public:
    static constexpr const char* servicesId = "com.fenlo.voicetotext.web";

    AccountReply authorize(const WireRequest& request); // the page with what is shared, Allow, Deny and Fail
    AccountReply decide(const WireRequest& request); // what its buttons send: a form that sends itself to the service
    AccountReply callback(const WireRequest& request);
    AccountReply status(const WireRequest& request);

    /// From now on no session is known.
    void forget();

private:
    Guarded<std::map<std::string, nlohmann::json>> m_results; // by session; each is given away once
};

} // namespace fenlo::test
