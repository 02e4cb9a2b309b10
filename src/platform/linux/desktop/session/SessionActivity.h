#pragma once

#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/GlibThread.h"

#include <functional>
#include <memory>
#include <optional>

namespace fenlo {

/// Tells whether the user's session is the one in front, or another user has the screen and the keyboard.
///
/// Threads: made and ended on one thread; the handler is called on another.
/// Errors:  without a login manager, or once it is gone, the session counts as the one in front.
class SessionActivity {
public:
    /// The handler is told the state that was found first, and each change.
    explicit SessionActivity(std::function<void(bool isActive)> handler);
    ~SessionActivity();

private:
    void follow();
    void look();

    const std::function<void(bool)> m_handler;
    const GlibObject<GCancellable> m_end;
    std::optional<DBusConnection> m_bus; // on the thread only, like the next
    DBusConnection::Object m_session;
    std::unique_ptr<GlibThread> m_thread;
};

} // namespace fenlo
