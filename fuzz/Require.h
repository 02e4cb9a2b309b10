#pragma once

#include "base/Text.h"

#include <cstdlib>
#include <string_view>

/// What a fuzz target promises of its results. A broken promise ends the process, which is how it is found.
namespace fenlo {

inline void require(bool holds) {
    if (!holds)
        std::abort();
}

inline void requireUtf8(std::string_view text) {
    require(text::repairUtf8(text) == text);
}

} // namespace fenlo
