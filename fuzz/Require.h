#pragma once

#include "base/Text.h"

#include <cstdlib>
#include <string_view>

/// Checks a promise of a fuzz target about its results. A broken promise ends the process, so that the fuzzer reports
/// it.
namespace fenlo {

inline void require(bool holds) {
    if (!holds)
        std::abort();
}

inline void requireUtf8(std::string_view text) {
    require(text::repairUtf8(text) == text);
}

} // namespace fenlo
