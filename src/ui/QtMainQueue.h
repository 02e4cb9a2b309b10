#pragma once

#include "base/Clock.h"
#include "base/DueTimers.h"

#include <QObject>
#include <QTimer>
#include <deque>
#include <mutex>

namespace fenlo {

/// The main queue on Qt's event loop. Made after the QCoreApplication, on the thread that runs it.
///
/// Errors: a task that throws is logged and the loop goes on.
class QtMainQueue final : public QObject, public MainQueue {
public:
    QtMainQueue();
    ~QtMainQueue() override;

    void post(Task task) override;
    Timer postAfter(double seconds, Task task) override;
    Timer every(double seconds, Task task) override;
    bool isMainThread() const override;

    /// Runs the application's event loop until quit() and hands back its exit status. Tasks that come later are
    /// dropped, which frees every worker that waits in call().
    int run();
    /// May be called on any thread.
    void quit();
    /// What run() does at its end, for a program that fails before it.
    void end();

private:
    bool event(QEvent* event) override;
    void runDue();
    void setAlarm();

    std::mutex m_mutex;
    std::deque<Task> m_tasks;
    bool m_ended = false;

    SystemClock m_clock;
    DueTimers m_timers;
    QTimer m_alarm{this}; // rings when the next of the timers is due
};

} // namespace fenlo
