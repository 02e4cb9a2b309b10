#include "base/MainQueue.h"

namespace fenlo {

Timer& Timer::operator=(Timer&& other) noexcept {
    if (this != &other) {
        cancel();
        m_cancel = std::exchange(other.m_cancel, nullptr);
    }
    return *this;
}

void Timer::cancel() {
    if (auto cancel = std::exchange(m_cancel, nullptr))
        cancel();
}

} // namespace fenlo
