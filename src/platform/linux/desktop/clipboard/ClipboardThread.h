#pragma once

#include "base/Guarded.h"
#include "platform/Pasteboard.h"
#include "platform/linux/desktop/Wakeup.h"
#include "platform/linux/desktop/clipboard/ClipboardLoan.h"
#include "platform/linux/desktop/clipboard/Selections.h"

#include <deque>
#include <thread>

namespace fenlo {

/// The clipboard's thread: carries out the main thread's tasks in order and serves other programs all the while.
///
/// Threads: made, used and ended by the main thread.
class ClipboardThread {
public:
    explicit ClipboardThread(std::unique_ptr<Selections> selections);
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

    void post(Task task);
    /// Runs the question on the thread. The default value when it is not answered by the deadline.
    template <typename Result>
    Result ask(Clock::time_point deadline, std::function<Result()> question);
    void run(std::stop_token stop);
    void runTasks();
    void sleep();
    void setNow(const std::string& text, Pasteboard::Offer offer);
    void clearIfDue();
    void clearNow();
    void handOver();

    const std::unique_ptr<Selections> m_selections;
    Wakeup m_wakeup;
    Guarded<Inbox> m_inbox;
    ClipboardLoan m_loan;
    struct Clearing {
        Clock::time_point due;
        Selections::Moment moment; // as of which the clipboard is empty
    };
    std::optional<Clearing> m_clearing;
    std::jthread m_thread;
};

} // namespace fenlo
