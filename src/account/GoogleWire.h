#pragma once

#include "platform/HttpClient.h"

#include <string>

namespace fenlo {

struct Deployment;

/// What is sent to Google in a sign-in.
namespace googleWire {

/// 32 random bytes as text; empty when the system has none to give.
std::string newVerifier();
std::string challengeOf(const std::string& verifier);

/// The address for the browser.
std::string authorizationAddress(const Deployment& deployment, const std::string& redirectUri,
                                 const std::string& verifier);

struct Exchange {
    std::string code;
    std::string redirectUri;
    std::string verifier;
};
HttpRequest exchangeRequest(const Deployment& deployment, const Exchange& exchange);
HttpRequest renewalRequest(const Deployment& deployment, const std::string& refreshToken);
HttpRequest userRequest(const Deployment& deployment, const std::string& accessToken);

} // namespace googleWire

} // namespace fenlo
