#include "ui/QtMainQueue.h"

#include "ui/GuardedCall.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <algorithm>
#include <chrono>

namespace fenlo {

namespace {

const auto taskEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

MainQueue::Task guarded(MainQueue::Task task) {
    return [task = std::move(task)] { callGuarded(task); };
}

} // namespace

QtMainQueue::QtMainQueue() {
    m_alarm.setSingleShot(true);
    m_alarm.setTimerType(Qt::PreciseTimer); // a coarse one may ring five per cent early or late
    connect(&m_alarm, &QTimer::timeout, this, &QtMainQueue::runDue);
}

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
    std::unique_lock lock(m_mutex); // the event was made under it too
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
    Timer timer = m_timers.once(m_clock.now() + seconds, guarded(std::move(task)));
    setAlarm();
    return timer;
}

Timer QtMainQueue::every(double seconds, Task task) {
    Timer timer = m_timers.every(seconds, m_clock.now() + seconds, guarded(std::move(task)));
    setAlarm();
    return timer;
}

void QtMainQueue::runDue() {
    const double now = m_clock.now();
    while (m_timers.runNext(now))
        ;
    setAlarm();
}

void QtMainQueue::setAlarm() {
    using std::chrono::milliseconds;
    if (const auto due = m_timers.nextDue())
        m_alarm.start(
            std::chrono::ceil<milliseconds>(std::chrono::duration<double>(std::max(*due - m_clock.now(), 0.0))));
    else
        m_alarm.stop();
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
    std::deque<Task> dropped; // destroyed after the lock is released: what a task holds may post in its destructor
    std::lock_guard lock(m_mutex);
    m_ended = true;
    dropped.swap(m_tasks);
}

} // namespace fenlo
