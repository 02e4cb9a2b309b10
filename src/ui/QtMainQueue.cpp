#include "ui/QtMainQueue.h"

#include "ui/GuardedCall.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <chrono>

namespace fenlo {

namespace {

const auto taskEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

/// Below this, a timer is worth waking up for exactly; above it, Qt may join it with others.
constexpr double longestPreciseInterval = 2.0; // seconds

} // namespace

QtMainQueue::QtMainQueue() = default;

QtMainQueue::~QtMainQueue() {
    end();
}

void QtMainQueue::post(Task task) {
    std::lock_guard lock(m_mutex);
    if (m_ended)
        return;
    m_tasks.push_back(std::move(task));
    QCoreApplication::postEvent(this, new QEvent(taskEvent));
}

bool QtMainQueue::event(QEvent* event) {
    std::unique_lock lock(m_mutex); // under which the event was made
    if (event->type() != taskEvent) {
        lock.unlock();
        return QObject::event(event);
    }
    if (m_tasks.empty())
        return true;
    Task task = std::move(m_tasks.front());
    m_tasks.pop_front();
    lock.unlock();
    callGuarded(std::move(task));
    return true;
}

Timer QtMainQueue::postAfter(double seconds, Task task) {
    return schedule(seconds, false, std::move(task));
}

Timer QtMainQueue::every(double seconds, Task task) {
    return schedule(seconds, true, std::move(task));
}

Timer QtMainQueue::schedule(double seconds, bool repeats, Task task) {
    auto* timer = new QTimer(this);
    timer->setSingleShot(!repeats);
    timer->setTimerType(seconds <= longestPreciseInterval ? Qt::PreciseTimer : Qt::CoarseTimer);
    connect(timer, &QTimer::timeout, this, [timer, repeats, task = std::move(task)] {
        if (!repeats)
            timer->deleteLater();
        callGuarded(task);
    });
    timer->start(std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(seconds)));
    return Timer([timer = QPointer(timer)] {
        if (!timer)
            return;
        timer->stop();
        timer->deleteLater();
    });
}

bool QtMainQueue::isMainThread() const {
    return QThread::currentThread() == thread();
}

int QtMainQueue::run() {
    const int status = QCoreApplication::exec();
    end();
    return status;
}

void QtMainQueue::quit() {
    post([] { QCoreApplication::exit(0); });
}

void QtMainQueue::end() {
    std::deque<Task> dropped; // dies after the lock is released: what a task holds may post in its destructor
    std::lock_guard lock(m_mutex);
    m_ended = true;
    dropped.swap(m_tasks);
}

} // namespace fenlo
