#pragma once

#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/DBusConnection.h"

#include <atomic>
#include <optional>

namespace fenlo::test {

/// The system's login manager, on a bus of its own, which is the system bus meanwhile.
class LoginManager {
public:
    LoginManager();
    ~LoginManager();

    void prepareForSleep(bool begins);

    /// Whether somebody asks it to wait with the sleep.
    bool isInhibited() const;

private:
    static GDBusMessage* filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* self);

    VirtualBus m_process;
    const GlibObject<GCancellable> m_cancel;
    std::optional<DBusConnection> m_bus;
    std::atomic<int> m_pipe = -1; // the end to read from; the inhibitor holds the other
};

} // namespace fenlo::test
