#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace fenlo {

/// Carries a body from the network thread to the sender, who takes it at its own pace: a slow disk holds up its own
/// download only.
///
/// Threads: offer(), isFull() and close() on the network thread, take() on the sender's.
class BodyStream {
public:
    /// False when the sender is too far behind; then offer the bytes again once it is no longer full.
    bool offer(std::string_view bytes);
    bool isFull();

    /// No more bytes come; those that came can still be taken.
    void close();

    /// Blocks for the next bytes; empty at the end. Calls `onRoom` when bytes had been refused before.
    std::string take(const std::function<void()>& onRoom);

private:
    static constexpr std::size_t capacity = 1u << 20u;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_bytes;
    bool m_refused = false;
    bool m_closed = false;
};

} // namespace fenlo
