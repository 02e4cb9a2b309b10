#pragma once

#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/GlibThread.h"

#include <deque>
#include <optional>
#include <string>

namespace fenlo {

/// Takes texts out of the history of GPaste, a clipboard manager that ignores the hint to leave them out. An entry is
/// removed once it is no longer the newest; removed earlier, it would make the manager put the one below it onto the
/// clipboard. After a minute it stays.
///
/// Threads: any.
/// Errors:  without the manager, or without a bus, nothing happens.
class ClipboardHistory {
public:
    ClipboardHistory();
    ~ClipboardHistory();

    /// To be called before the text is offered.
    void leaveOut(const std::string& text);
    /// The user has copied the text: it may stay in the history.
    void admit(const std::string& text);

private:
    using Clock = DBusConnection::Clock;

    struct Unwanted {
        std::string text;
        Clock::time_point until;
    };

    // On the thread.
    void connect();
    void cleanUp();

    const GlibObject<GCancellable> m_end;
    std::optional<DBusConnection> m_bus;
    std::deque<Unwanted> m_unwanted;
    GlibThread m_thread; // last, so that it ends first
};

} // namespace fenlo
