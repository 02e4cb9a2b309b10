#pragma once

#include <string>
#include <string_view>

namespace fenlo {

/// What the service knows of a sign-in with Apple.
struct AppleStatus {
    enum class Kind { pending, failed, ok };

    Kind kind = Kind::pending;
    std::string error = {}; // for the user, when it failed
    std::string email = {}; // may be empty
    std::string name = {};  // for who is signed in; never empty when all is well
};

/// Reads an answer to the question for the status; one that tells nothing counts as pending.
AppleStatus readAppleStatus(int httpStatus, std::string_view body);

} // namespace fenlo
