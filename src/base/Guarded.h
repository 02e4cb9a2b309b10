#pragma once

#include <mutex>
#include <utility>

namespace fenlo {

/// Data shared between threads, reachable only under its lock.
template <typename T>
class Guarded {
public:
    Guarded() = default;
    explicit Guarded(T initial) : m_value(std::move(initial)) {}

    /// Runs `use` on the value with the lock held. `use` must not block, log or call back into the owner.
    template <typename Use>
    decltype(auto) with(Use&& use) {
        std::lock_guard lock(m_mutex);
        return std::forward<Use>(use)(m_value);
    }

    template <typename Use>
    decltype(auto) with(Use&& use) const {
        std::lock_guard lock(m_mutex);
        return std::forward<Use>(use)(m_value);
    }

private:
    mutable std::mutex m_mutex;
    T m_value{};
};

} // namespace fenlo
