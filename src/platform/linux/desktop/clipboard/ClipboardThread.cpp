#include "platform/linux/desktop/clipboard/ClipboardThread.h"

#include "base/Deadline.h"
#include "base/LogThrown.h"

#include <algorithm>
#include <future>

namespace fenlo {

namespace {

using Name = Selections::Name;
using Stay = Selections::Stay;

/// A text that follows within this time replaces the old one directly. Clipboard managers put old content back into a
/// clipboard that they see empty.
constexpr auto clearDelay = std::chrono::milliseconds(30);
constexpr auto stallCheck = std::chrono::seconds(2);
constexpr auto handOverLimit = std::chrono::milliseconds(300);

} // namespace

ClipboardThread::ClipboardThread(std::unique_ptr<Selections> selections)
    : m_selections(std::move(selections)), m_loan(*m_selections),
      m_thread([this](std::stop_token stop) { run(stop); }) {}

ClipboardThread::~ClipboardThread() {
    m_thread.request_stop();
    m_wakeup.wake();
}

void ClipboardThread::set(std::string text, Pasteboard::Offer offer) {
    post([this, text = std::move(text), offer] { setNow(text, offer); });
}

void ClipboardThread::clear() {
    post([this] {
        m_loan.forgetReturn();
        m_clearing = {Clock::now() + clearDelay, m_selections->now()};
    });
}

Pasteboard::Reading ClipboardThread::read(double limit) {
    const auto deadline = deadlineAfter(limit);
    const auto reading = ask<std::optional<Pasteboard::Reading>>(
        deadline, [=, this] { return m_clearing ? Pasteboard::Reading{} : m_selections->read(deadline); });
    return reading.value_or(Pasteboard::Reading{.text = {}, .isAnswered = false});
}

Pasteboard::GiveBack ClipboardThread::keep(double limit) {
    // Only the thread uses it, perhaps after the deadline.
    const auto saved = std::make_shared<ClipboardLoan::Saved>();
    const auto deadline = deadlineAfter(limit);
    ask<bool>(deadline, [=, this] {
        if (m_clearing)
            clearNow();
        *saved = m_loan.keep(deadline);
        return true;
    });
    return [=, this](Pasteboard::Return why) { post([=, this] { m_loan.giveBack(*saved, why); }); };
}

template <typename Result>
Result ClipboardThread::ask(Clock::time_point deadline, std::function<Result()> question) {
    auto answer = std::make_shared<std::promise<Result>>();
    auto told = answer->get_future();
    post([answer = std::move(answer), question = std::move(question)] { answer->set_value(question()); });
    try {
        return told.wait_until(deadline) == std::future_status::ready ? told.get() : Result();
    } catch (const std::future_error&) {
        return Result(); // the thread has ended
    }
}

void ClipboardThread::post(Task task) {
    m_inbox.with([&](Inbox& inbox) {
        if (!inbox.isClosed)
            inbox.tasks.push_back(std::move(task));
    });
    m_wakeup.wake();
}

void ClipboardThread::run(std::stop_token stop) {
    while (!stop.stop_requested() && !m_selections->isLost()) {
        runTasks();
        clearIfDue();
        m_loan.settle();
        m_selections->handleArrived();
        sleep();
    }
    runTasks();
    handOver();
    m_selections->flush();
    const auto dropped = m_inbox.with([](Inbox& inbox) {
        inbox.isClosed = true;
        return std::exchange(inbox.tasks, {});
    });
}

void ClipboardThread::runTasks() {
    const auto next = [this] {
        return m_inbox.with([](Inbox& inbox) {
            Task task;
            if (!inbox.tasks.empty()) {
                task = std::move(inbox.tasks.front());
                inbox.tasks.pop_front();
            }
            return task;
        });
    };
    while (const Task task = next())
        logThrown("Clipboard", task);
}

void ClipboardThread::sleep() {
    const auto now = Clock::now();
    const bool watchesTransfers = m_selections->dropStalled(now);
    auto until = m_loan.due();
    const auto atLatest = [&](Clock::time_point time) { until = std::min(until.value_or(time), time); };
    if (watchesTransfers)
        atLatest(now + stallCheck);
    if (m_clearing)
        atLatest(m_clearing->due);
    const std::chrono::duration<double> left = until ? std::max(*until, now) - now : -stallCheck;
    m_wakeup.sleep(m_selections->descriptor(), left.count());
}

void ClipboardThread::setNow(const std::string& text, Pasteboard::Offer offer) {
    m_clearing.reset();
    m_loan.forgetReturn();
    m_selections->offer(Name::clipboard, text, offer.transient ? Stay::onLoan : Stay::lasting, m_selections->now());
    if (offer.primary)
        m_loan.lendPrimary(text);
    else
        m_loan.endPrimary();
}

void ClipboardThread::clearIfDue() {
    if (m_clearing && Clock::now() >= m_clearing->due)
        clearNow();
}

void ClipboardThread::clearNow() {
    m_selections->clear(Name::clipboard, std::exchange(m_clearing, {})->moment);
    m_loan.endPrimary();
}

void ClipboardThread::handOver() {
    m_selections->handleArrived();
    if (m_clearing)
        clearNow();
    m_loan.settle(true);
    m_selections->handOver(Clock::now() + handOverLimit);
}

} // namespace fenlo
