#pragma once

#include "support/account/AppleSignIn.h"
#include "support/account/Backend.h"
#include "support/account/GoogleSignIn.h"
#include "support/account/UpdateFeed.h"

#include <string>
#include <vector>

namespace fenlo::test {

/// All that an account and updates need: the service, both ways to sign in, the feed. Endpoints have names of two
/// parts, such as "backend/config"; the first part names a group.
///
/// Threads: any.
class AccountServices {
public:
    explicit AccountServices(std::string package) : m_updates(std::move(package)) {}

    /// The name of the endpoint that the request goes to; empty for none.
    static std::string endpointOf(const WireRequest& request);
    /// The endpoints that an endpoint's or a group's name means; none for another name.
    static std::vector<std::string> endpointsNamed(const std::string& name);

    /// The answer of the endpoint of this name.
    AccountReply answer(const std::string& endpoint, const WireRequest& request);

    /// The tokens, codes and sessions of this group are worth nothing any more.
    void forget(const std::string& group);

    /// What a deployment needs to use the services at this address: scheme and host, no path.
    nlohmann::json deployment(const std::string& address) const;

    const UpdateFeed& updates() const { return m_updates; }

private:
    Backend m_backend;
    GoogleSignIn m_google;
    AppleSignIn m_apple;
    UpdateFeed m_updates;

    struct Endpoint;
    static const std::vector<Endpoint>& endpoints();
};

} // namespace fenlo::test
