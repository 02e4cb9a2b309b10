#pragma once

#include <string_view>
#include <utility>

namespace fenlo {

namespace detail {
void logCaughtException(std::string_view where);
} // namespace detail

/// Runs `work` where no exception may pass: at a thread's entry, in a callback of a C library, in a slot of the
/// toolkit. What it throws is logged as "[Fenlo] ERROR: <where>: <message>" and goes no further.
template <typename Work>
void logThrown(std::string_view where, Work&& work) {
    try {
        std::forward<Work>(work)();
    } catch (...) {
        detail::logCaughtException(where);
    }
}

} // namespace fenlo
