#include "platform/linux/desktop/clipboard/ClipboardThread.h"

#include "base/Deadline.h"
#include "base/LogThrown.h"

#include <algorithm>
#include <future>

namespace fenlo {

namespace {

using Stay = SelectionServer::Stay;

/// A text that follows within this time replaces the old one directly. Clipboard managers put old content back into a
/// clipboard that they see empty.
constexpr auto clearDelay = std::chrono::milliseconds(30);
constexpr auto stallCheck = std::chrono::seconds(2);
constexpr auto handOverLimit = std::chrono::milliseconds(300);

} // namespace

std::unique_ptr<ClipboardThread> ClipboardThread::start() {
    auto x = XcbConnection::open();
    return x ? std::unique_ptr<ClipboardThread>(new ClipboardThread(std::move(x))) : nullptr;
}

ClipboardThread::ClipboardThread(std::unique_ptr<XcbConnection> x)
    : m_x(std::move(x)), m_window(m_x->makeWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)), m_clipboard(m_x->atom("CLIPBOARD")),
      m_server(*m_x, m_window), m_conversions(*m_x, m_window), m_events(*m_x, m_window, m_server, m_conversions),
      m_reader(*m_x, m_conversions, m_events), m_saver(*m_x, m_conversions, m_events),
      m_loan(*m_x, m_window, m_server, m_events, m_saver), m_thread([this](std::stop_token stop) { run(stop); }) {}

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
        m_clearing = {Clock::now() + clearDelay, m_events.serverTime()};
    });
}

Pasteboard::Reading ClipboardThread::read(double limit) {
    const auto deadline = deadlineAfter(limit);
    const auto reading = ask<std::optional<Pasteboard::Reading>>(deadline, [=, this] { return readNow(deadline); });
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
    while (!stop.stop_requested() && !m_x->isLost()) {
        runTasks();
        clearIfDue();
        m_loan.settle();
        m_events.handleArrived();
        sleep();
    }
    runTasks();
    handOver();
    xcb_flush(m_x->get());
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
    const bool watchesTransfers = m_server.dropStalled(now);
    auto until = m_loan.due();
    const auto atLatest = [&](Clock::time_point time) { until = std::min(until.value_or(time), time); };
    if (watchesTransfers)
        atLatest(now + stallCheck);
    if (m_clearing)
        atLatest(m_clearing->due);
    const std::chrono::duration<double> left = until ? std::max(*until, now) - now : -stallCheck;
    m_wakeup.sleep(m_x->descriptor(), left.count());
}

void ClipboardThread::setNow(const std::string& text, Pasteboard::Offer offer) {
    m_clearing.reset();
    m_loan.forgetReturn();
    m_server.offer(m_clipboard, {.text = text, .forms = {}}, offer.transient ? Stay::onLoan : Stay::lasting,
                   m_events.serverTime());
    if (offer.primary)
        m_loan.lendPrimary(text);
    else
        m_loan.endPrimary();
}

Pasteboard::Reading ClipboardThread::readNow(Clock::time_point deadline) {
    const xcb_window_t owner = m_clearing ? xcb_window_t{XCB_WINDOW_NONE} : m_x->selectionOwner(m_clipboard);
    if (owner == XCB_WINDOW_NONE)
        return {};
    return owner == m_window ? Pasteboard::Reading{.text = m_server.contents(m_clipboard).text}
                             : m_reader.read(deadline);
}

void ClipboardThread::clearIfDue() {
    if (m_clearing && Clock::now() >= m_clearing->due)
        clearNow();
}

void ClipboardThread::clearNow() {
    m_server.clear(m_clipboard, std::exchange(m_clearing, {})->time);
    m_loan.endPrimary();
}

void ClipboardThread::handOver() {
    const xcb_atom_t manager = m_x->atom("CLIPBOARD_MANAGER");
    const xcb_atom_t property = m_x->atom("_FENLO_SAVE");
    m_events.handleArrived();
    if (m_clearing)
        clearNow();
    m_loan.settle(true);
    if (!m_server.owns(m_clipboard) || m_server.lends(m_clipboard))
        return;
    m_x->setNumbers(m_window, property, XCB_ATOM_ATOM, m_server.contentTargets(m_clipboard));
    xcb_convert_selection(m_x->get(), m_window, manager, m_x->atom("SAVE_TARGETS"), property, m_events.serverTime());
    // Without a manager the server itself answers at once.
    const auto isSaved = [&](const xcb_generic_event_t& event) {
        const auto* const notify = eventAs<xcb_selection_notify_event_t>(event, XCB_SELECTION_NOTIFY);
        return notify && notify->selection == manager;
    };
    m_events.waitFor(isSaved, Clock::now() + handOverLimit);
}

} // namespace fenlo
