#pragma once

#include "base/Guarded.h"
#include "platform/Pasteboard.h"
#include "platform/linux/desktop/Wakeup.h"
#include "platform/linux/desktop/clipboard/ClipboardEvents.h"
#include "platform/linux/desktop/clipboard/ClipboardLoan.h"
#include "platform/linux/desktop/clipboard/SelectionReader.h"

#include <deque>
#include <thread>

namespace fenlo {

/// The clipboard's thread: carries out the main thread's tasks in order and serves other programs all the while.
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
    Pasteboard::Reading read(double limit);
    Pasteboard::GiveBack keep(double limit);

private:
    using Clock = std::chrono::steady_clock;
    using Task = std::function<void()>;

    struct Inbox {
        std::deque<Task> tasks;
        bool isClosed = false;
    };

    explicit ClipboardThread(std::unique_ptr<XcbConnection> x);

    void post(Task task);
    /// Runs the question on the thread. The default value when it is not answered by the deadline.
    template <typename Result>
    Result ask(Clock::time_point deadline, std::function<Result()> question);
    void run(std::stop_token stop);
    void runTasks();
    void sleep();
    void setNow(const std::string& text, Pasteboard::Offer offer);
    Pasteboard::Reading readNow(Clock::time_point deadline);
    void clearIfDue();
    void clearNow();
    void handOver();

    const std::unique_ptr<XcbConnection> m_x;
    const xcb_window_t m_window;
    Wakeup m_wakeup;
    Guarded<Inbox> m_inbox;
    const xcb_atom_t m_clipboard;
    SelectionServer m_server;
    SelectionConversions m_conversions;
    ClipboardEvents m_events;
    SelectionReader m_reader;
    SelectionSaver m_saver;
    ClipboardLoan m_loan;
    struct Clearing {
        Clock::time_point due;
        xcb_timestamp_t time; // as of which the clipboard is empty
    };
    std::optional<Clearing> m_clearing;
    std::jthread m_thread;
};

} // namespace fenlo
