#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

struct GoogleTokens {
    std::string accessToken;
    std::string refreshToken; // empty when none came
    double lifetime = 3600.0; // seconds of the access token
};

struct GoogleUser {
    std::string email;
    std::string name;
    std::string picture; // an address; may be empty
};

/// Replies of the token endpoint and of the user-information endpoint, which may hold anything. Nothing for one that
/// lacks what it is for.
std::optional<GoogleTokens> readTokens(std::string_view body);
std::optional<GoogleUser> readUser(std::string_view body);

} // namespace fenlo
