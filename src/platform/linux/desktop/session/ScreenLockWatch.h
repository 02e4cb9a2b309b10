#pragma once

#include "base/Lifetime.h"
#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/GlibThread.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace fenlo {

class MainQueue;

/// Knows whether the screen is locked, from the login manager and the desktop's screen saver. The handler also hears of
/// a request to lock, which alone does not count as locked: some lockers never say when they are done.
///
/// Threads: made and ended by the main thread, which the handler runs on; isLocked() on any.
/// Errors:  a service that is absent, or goes away, counts as not locked.
class ScreenLockWatch {
public:
    ScreenLockWatch(MainQueue& mainQueue, std::function<void()> handler);
    ~ScreenLockWatch();

    bool isLocked() const { return m_isLocked; }

private:
    void followLoginManager();
    void followScreenSavers();
    void askScreenSaver(const std::string& name);
    /// Who says that the screen is locked, or no longer.
    void hear(const std::string& speaker, bool says);
    void tell();

    MainQueue& m_mainQueue;
    const std::function<void()> m_handler;
    const GlibObject<GCancellable> m_end;
    std::optional<DBusConnection> m_system, m_session; // on the thread only, like the next
    DBusConnection::Object m_loginSession;
    std::set<std::string> m_speakers; // the services that say it is locked
    std::atomic<bool> m_isLocked = false;
    Lifetime m_lifetime;
    std::unique_ptr<GlibThread> m_thread;
};

} // namespace fenlo
