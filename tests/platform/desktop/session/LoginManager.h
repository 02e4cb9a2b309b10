#pragma once

#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/DBusConnection.h"

#include <atomic>
#include <optional>

namespace fenlo::test {

/// The system's login manager, and a screen saver beside it, on a bus of their own, which is the system's and the
/// session's meanwhile.
class LoginManager {
public:
    LoginManager();
    ~LoginManager();

    void prepareForSleep(bool begins);

    /// What the session's programs are told when somebody asks for a lock.
    void askForLock();
    void setLocked(bool isLocked);
    void setScreenSaverActive(bool isActive);
    /// As a screen saver that crashes.
    void endScreenSaver();

    /// Whether somebody asks it to wait with the sleep.
    bool isInhibited() const;

private:
    static GDBusMessage* filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* self);

    VirtualBus m_process;
    void requestName(const char* name);
    void emit(const char* object, const char* interface, const char* signal, GVariant* arguments = nullptr);
    GVariant* answer(const std::string& question, GDBusMessage* call, GDBusMessage* reply);

    const GlibObject<GCancellable> m_cancel;
    std::optional<DBusConnection> m_bus;
    std::atomic<bool> m_isLocked = false, m_isSaverActive = false;
    std::atomic<int> m_pipe = -1; // the end to read from; the inhibitor holds the other
};

} // namespace fenlo::test
