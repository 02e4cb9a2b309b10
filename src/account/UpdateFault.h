#pragma once

#include <stdexcept>

namespace fenlo {

/// Why there is no update; what() is one sentence for the user.
struct UpdateFault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace fenlo
