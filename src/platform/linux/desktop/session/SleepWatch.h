#pragma once

#include "base/Lifetime.h"
#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/GlibThread.h"

#include <functional>
#include <memory>
#include <optional>

namespace fenlo {

class MainQueue;

/// Tells before the machine sleeps. The login manager delays the sleep until the handler is done.
///
/// Threads: made and ended by the main thread, which the handler runs on.
/// Errors:  without a login manager it never tells.
class SleepWatch {
public:
    SleepWatch(MainQueue& mainQueue, std::function<void()> handler);
    ~SleepWatch();

private:
    /// The machine stays awake while somebody holds it.
    using Inhibitor = std::shared_ptr<const int>;

    void connect();
    void inhibit();
    void prepareForSleep();

    MainQueue& m_mainQueue;
    const std::function<void()> m_handler;
    const GlibObject<GCancellable> m_end;
    std::optional<DBusConnection> m_bus; // on the thread
    Inhibitor m_inhibitor;
    Lifetime m_lifetime;
    std::unique_ptr<GlibThread> m_thread;
};

} // namespace fenlo
