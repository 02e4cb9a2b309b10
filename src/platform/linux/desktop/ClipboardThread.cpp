#include "platform/linux/desktop/ClipboardThread.h"

#include "base/Log.h"

#include <algorithm>
#include <future>

namespace fenlo {

namespace {

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
    : m_x(std::move(x)), m_window(m_x->makeWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)), m_server(*m_x, m_window),
      m_events(*m_x, m_window, m_server, m_wakeup), m_reader(*m_x, m_window, m_events),
      m_thread([this](std::stop_token stop) { run(stop); }) {}

ClipboardThread::~ClipboardThread() {
    m_thread.request_stop();
    m_wakeup.wake();
}

void ClipboardThread::set(std::string text, Pasteboard::Offer offer) {
    post([this, text = std::move(text), offer]() mutable {
        m_clearing.reset();
        m_server.offer(std::move(text), offer, m_events.serverTime());
    });
}

void ClipboardThread::clear() {
    post([this] { m_clearing = {Clock::now() + clearDelay, m_events.serverTime()}; });
}

std::optional<std::string> ClipboardThread::read(double limit) {
    auto text = std::make_shared<std::promise<std::optional<std::string>>>();
    auto answer = text->get_future();
    post([this, text = std::move(text), limit] { text->set_value(readNow(limit)); });
    try {
        return answer.get();
    } catch (const std::future_error&) {
        return std::nullopt; // the thread ended before
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
    while (const Task task = next()) {
        try {
            task();
        } catch (const std::exception& error) {
            log(std::string("[Fenlo] ERROR: Clipboard: ") + error.what());
        }
    }
}

void ClipboardThread::sleep() {
    const auto now = Clock::now();
    const bool watchesTransfers = m_server.dropStalled(now);
    std::optional<Clock::time_point> until;
    if (watchesTransfers)
        until = now + stallCheck;
    if (m_clearing)
        until = m_clearing->due;
    const std::chrono::duration<double> left = until ? std::max(*until - now, Clock::duration::zero()) : -stallCheck;
    m_wakeup.sleep(m_x->descriptor(), left.count());
}

std::optional<std::string> ClipboardThread::readNow(double limit) {
    if (m_clearing)
        return std::nullopt;
    const auto cookie = xcb_get_selection_owner(m_x->get(), m_x->atom("CLIPBOARD"));
    const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(m_x->get(), cookie, nullptr));
    if (!reply || reply->owner == XCB_WINDOW_NONE)
        return std::nullopt;
    return reply->owner == m_window ? m_server.text() : m_reader.read(limit);
}

void ClipboardThread::clearIfDue() {
    if (m_clearing && Clock::now() >= m_clearing->due)
        m_server.clear(std::exchange(m_clearing, {})->time);
}

void ClipboardThread::handOver() {
    const xcb_atom_t manager = m_x->atom("CLIPBOARD_MANAGER");
    const xcb_atom_t property = m_x->atom("_FENLO_SAVE");
    m_events.handleArrived();
    if (m_clearing)
        m_server.clear(m_clearing->time);
    if (!m_server.ownsClipboard() || m_server.isTransient())
        return;
    m_x->setNumbers(m_window, property, XCB_ATOM_ATOM, m_server.textTargets());
    xcb_convert_selection(m_x->get(), m_window, manager, m_x->atom("SAVE_TARGETS"), property, m_events.serverTime());
    // Without a manager the server itself answers at once.
    const auto isSaved = [&](const xcb_generic_event_t& event) {
        const auto* const notify = eventAs<xcb_selection_notify_event_t>(event, XCB_SELECTION_NOTIFY);
        return notify && notify->selection == manager;
    };
    m_events.waitFor(isSaved, Clock::now() + handOverLimit);
}

} // namespace fenlo
