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

/// Knows whether the screen is locked, by the word of the login manager and of the desktop's screen saver. A request to
/// lock is told too, but does not count as locked: not every program that locks says when it is done.
///
/// Threads: made and ended by the main thread, which the handler runs on; isLocked() on any.
/// Errors:  a service that is not there, or goes away, counts as not locked.
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
    std::optional<DBusConnection> m_system, m_session; // these on the thread
    DBusConnection::Object m_loginSession;
    std::set<std::string> m_speakers; // those who say that it is locked
    std::atomic<bool> m_isLocked = false;
    Lifetime m_lifetime;
    std::unique_ptr<GlibThread> m_thread;
};

} // namespace fenlo
