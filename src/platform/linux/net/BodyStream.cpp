#include "platform/linux/net/BodyStream.h"

#include <utility>

namespace fenlo {

bool BodyStream::offer(std::string_view bytes) {
    {
        const std::lock_guard lock(m_mutex);
        m_refused = m_bytes.size() >= capacity;
        if (m_refused)
            return false;
        m_bytes.append(bytes);
    }
    m_changed.notify_one();
    return true;
}

bool BodyStream::isFull() {
    const std::lock_guard lock(m_mutex);
    return m_bytes.size() >= capacity;
}

void BodyStream::close() {
    {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
    }
    m_changed.notify_one();
}

std::string BodyStream::take(const std::function<void()>& onRoom) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_bytes.empty() || m_closed; });
    std::string bytes = std::exchange(m_bytes, {});
    const bool refused = std::exchange(m_refused, false);
    lock.unlock();
    if (refused)
        onRoom();
    return bytes;
}

} // namespace fenlo
