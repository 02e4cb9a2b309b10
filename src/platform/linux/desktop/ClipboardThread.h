#pragma once

#include "base/Guarded.h"
#include "platform/Pasteboard.h"
#include "platform/linux/desktop/ClipboardEvents.h"
#include "platform/linux/desktop/SelectionReader.h"
#include "platform/linux/desktop/SelectionServer.h"

#include <deque>
#include <thread>

namespace fenlo {

/// The clipboard's thread. It does one task of the main thread after the other, and serves other programs meanwhile.
///
/// Threads: made, used and ended by the main thread.
class ClipboardThread {
public:
    /// Nothing when there is no server.
    static std::unique_ptr<ClipboardThread> start();
    ~ClipboardThread();

    bool isConnected() const {
        return !m_inbox.with([](const Inbox& inbox) { return inbox.isClosed; });
    }

    void set(std::string text, Pasteboard::Offer offer);
    void clear();
    std::optional<std::string> read(double limit);

private:
    using Clock = std::chrono::steady_clock;
    using Task = std::function<void()>;

    struct Inbox {
        std::deque<Task> tasks;
        bool isClosed = false;
    };

    explicit ClipboardThread(std::unique_ptr<XcbConnection> x);

    void post(Task task);
    void run(std::stop_token stop);
    void runTasks();
    void sleep();
    std::optional<std::string> readNow(double limit);
    void clearIfDue();
    void handOver();

    const std::unique_ptr<XcbConnection> m_x;
    const xcb_window_t m_window;
    Wakeup m_wakeup;
    Guarded<Inbox> m_inbox;
    SelectionServer m_server;
    ClipboardEvents m_events;
    SelectionReader m_reader;
    struct Clearing {
        Clock::time_point due;
        xcb_timestamp_t time; // as of which the clipboard is empty
    };
    std::optional<Clearing> m_clearing;
    std::jthread m_thread;
};

} // namespace fenlo
