#pragma once

#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/GlibThread.h"

#include <deque>
#include <optional>
#include <string>

namespace fenlo {

/// Takes texts out of the history of a clipboard manager that does not know the hint which asks to leave them out:
/// GPaste, over the session bus. An entry goes as soon as it is no longer the newest, since the manager would put the
/// one below it onto the clipboard; after a minute it stays.
///
/// Threads: any but its own.
/// Errors:  without the manager, or without a bus, nothing happens.
class ClipboardHistory {
public:
    ClipboardHistory();
    ~ClipboardHistory();

    /// To be called before the text is offered.
    void leaveOut(const std::string& text);
    /// The user wants the text on the clipboard: it may stay.
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
    GlibThread m_thread; // ends first
};

} // namespace fenlo
