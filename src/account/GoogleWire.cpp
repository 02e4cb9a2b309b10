#include "account/GoogleWire.h"

#include "account/SignInServices.h"
#include "base/Base64.h"
#include "base/OpenSsl.h"
#include "base/Url.h"
#include "settings/Deployment.h"

#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace fenlo::googleWire {

namespace {

constexpr char scopes[] = "openid email profile";
constexpr double exchangeTimeout = 60; // seconds
constexpr std::size_t verifierBytes = 32;

using Fields = std::vector<std::pair<std::string_view, std::string>>;

std::string encode(const Fields& fields) {
    std::string encoded;
    for (const auto& [name, value] : fields)
        encoded += (encoded.empty() ? "" : "&") + std::string(name) + "=" + url::percentEncode(value, "");
    return encoded;
}

std::string_view bytesOf(const auto& data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

HttpRequest tokenRequest(const Deployment& deployment, const Fields& fields) {
    HttpRequest request;
    request.method = "POST";
    request.url = deployment.googleTokenUri;
    request.headers = {{"Content-Type", "application/x-www-form-urlencoded"}};
    request.body = encode(fields);
    request.timeout = exchangeTimeout;
    request.maxResponseBytes = longestSignInReply;
    return request;
}

} // namespace

std::string newVerifier() {
    std::array<unsigned char, verifierBytes> bytes{};
    return RAND_bytes(bytes.data(), int(bytes.size())) == 1 ? encodeBase64Url(bytesOf(bytes)) : "";
}

std::string challengeOf(const std::string& verifier) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const unsigned char*>(verifier.data()), verifier.size(), digest.data());
    return encodeBase64Url(bytesOf(digest));
}

std::string authorizationAddress(const Deployment& deployment, const std::string& redirectUri,
                                 const std::string& verifier) {
    // The last two make Google hand out a refresh token each time.
    return deployment.googleAuthUri + "?" +
           encode({{"client_id", deployment.googleClientId},
                   {"redirect_uri", redirectUri},
                   {"response_type", "code"},
                   {"scope", scopes},
                   {"code_challenge", challengeOf(verifier)},
                   {"code_challenge_method", "S256"},
                   {"access_type", "offline"},
                   {"prompt", "consent"}});
}

HttpRequest exchangeRequest(const Deployment& deployment, const Exchange& exchange) {
    return tokenRequest(deployment, {{"code", exchange.code},
                                     {"client_id", deployment.googleClientId},
                                     {"client_secret", deployment.googleClientSecret},
                                     {"redirect_uri", exchange.redirectUri},
                                     {"grant_type", "authorization_code"},
                                     {"code_verifier", exchange.verifier}});
}

HttpRequest renewalRequest(const Deployment& deployment, const std::string& refreshToken) {
    return tokenRequest(deployment, {{"client_id", deployment.googleClientId},
                                     {"client_secret", deployment.googleClientSecret},
                                     {"refresh_token", refreshToken},
                                     {"grant_type", "refresh_token"}});
}

HttpRequest userRequest(const Deployment& deployment, const std::string& accessToken) {
    HttpRequest request;
    request.url = deployment.googleUserInfoUri;
    request.headers = {{"Authorization", "Bearer " + accessToken}};
    request.timeout = exchangeTimeout;
    request.maxResponseBytes = longestSignInReply;
    return request;
}

} // namespace fenlo::googleWire
