#pragma once

#include <string>
#include <string_view>

namespace fenlo::test {

/// A value that nobody guesses. It begins "standin-", so that a search finds it where it should not be.
std::string newSecret(std::string_view kind);

/// The PKCE challenge of a verifier, by the method S256.
std::string challengeOf(std::string_view verifier);

std::string base64(std::string_view bytes);

} // namespace fenlo::test
