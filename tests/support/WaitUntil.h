#pragma once

#include <chrono>
#include <thread>

namespace fenlo::test {

/// Waits for what another thread does: true as soon as the condition holds, false once `limit` seconds have passed.
template <typename Condition>
bool waitUntil(double limit, Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(limit);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace fenlo::test
