#pragma once

#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/DBusConnection.h"

#include <atomic>
#include <optional>

namespace fenlo::test {

/// Stands in for the login manager and a screen saver, on a bus of its own, which serves as system and session bus for
/// its lifetime.
class LoginManager {
public:
    LoginManager();
    ~LoginManager();

    void prepareForSleep(bool begins);

    /// Emits the signal with which the session is asked to lock.
    void askForLock();
    void setLocked(bool isLocked);
    /// Whether this session has the screen, or another user's.
    void setActive(bool isActive);
    void setScreenSaverActive(bool isActive);
    /// The screen saver leaves the bus, as after a crash.
    void endScreenSaver();

    /// Whether somebody delays the sleep.
    bool isInhibited() const;

private:
    static GDBusMessage* filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* self);

    VirtualBus m_process;
    void requestName(const char* name);
    void tellChange(const char* property);
    void emit(const char* object, const char* interface, const char* signal, GVariant* arguments = nullptr);
    GVariant* answer(const std::string& question, GDBusMessage* call, GDBusMessage* reply);

    const GlibObject<GCancellable> m_cancel;
    std::optional<DBusConnection> m_bus;
    std::atomic<bool> m_isLocked = false, m_isActive = true, m_isSaverActive = false;
    std::atomic<int> m_pipe = -1; // the end to read from; the inhibitor holds the other
};

} // namespace fenlo::test
