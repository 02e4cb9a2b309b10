#include "platform/linux/desktop/keys/X11KeyEvents.h"

#include "base/Deadline.h"
#include "base/MainQueue.h"
#include "platform/linux/desktop/keys/OwnKeys.h"
#include "platform/linux/desktop/keys/X11KeyListener.h"
#include "platform/linux/desktop/keys/X11KeyPoster.h"

namespace fenlo {

X11KeyEvents::X11KeyEvents(MainQueue& mainQueue)
    : m_mainQueue(mainQueue), m_own(std::make_unique<OwnKeys>()), m_poster(X11KeyPoster::open(*m_own)) {
    if (m_poster)
        m_thread = X11KeyListener::start(*m_own, {.keys = {.onFlagsChanged = onMain(&X11KeyEvents::tellFlagsChanged),
                                                           .onKeyDown = onMain(&X11KeyEvents::tellKeyDown)},
                                                  .mouseDown = onMain(&X11KeyEvents::tellMouseDown)});
}

X11KeyEvents::~X11KeyEvents() {
    // The thread reports through members, so it ends before they do.
    m_thread.reset();
}

template <typename Report>
std::function<void(Report)> X11KeyEvents::onMain(void (X11KeyEvents::*tell)(Report) const) {
    return [this, tell](Report report) {
        m_mainQueue.post(m_lifetime.bind([this, tell, report] { (this->*tell)(report); }));
    };
}

// The handlers are copied, since a handler may replace itself.

void X11KeyEvents::tellFlagsChanged(ModifierChange change) const {
    if (const auto handler = m_listener.onFlagsChanged)
        handler(change);
}

void X11KeyEvents::tellKeyDown(std::uint16_t keyCode) const {
    if (const auto handler = m_listener.onKeyDown)
        handler(keyCode);
}

void X11KeyEvents::tellMouseDown(ScreenPoint point) const {
    if (const auto handler = m_mouseDown)
        handler(point);
}

bool X11KeyEvents::isConnected() const {
    return m_poster && m_poster->isConnected();
}

bool X11KeyEvents::hasXInput2() const {
    return isConnected() && m_thread;
}

bool X11KeyEvents::hasXTest() const {
    return isConnected() && m_poster->hasXTest();
}

KeyEvents::Sources X11KeyEvents::listen(Listener listener) {
    m_listener = std::move(listener);
    const bool hears = hasXInput2();
    return {.global = hears, .local = hears, .eventTap = hears};
}

void X11KeyEvents::stopListening() {
    m_listener = {};
}

TriggerOutcome X11KeyEvents::trigger(Trigger trigger) {
    const auto handler = m_listener.onTrigger;
    return handler ? handler(trigger) : TriggerOutcome::notListening;
}

void X11KeyEvents::watchMouseDown(std::function<void(ScreenPoint)> handler) {
    m_mouseDown = std::move(handler);
    if (m_thread)
        m_thread->watchMouse(m_mouseDown != nullptr);
}

bool X11KeyEvents::post(std::uint16_t keyCode, std::uint64_t flags, KeyDirection direction) {
    if (!isConnected())
        return false;
    return direction == KeyDirection::down ? m_poster->press(keyCode, flags) : m_poster->release(keyCode);
}

bool X11KeyEvents::type(const std::string& text) {
    return isConnected() && m_poster->type(text);
}

void X11KeyEvents::releaseModifiers(double limit) {
    const auto deadline = deadlineAfter(limit);
    while (isConnected()) {
        const unsigned long releases = m_thread ? m_thread->releaseCount() : 0;
        if (!m_poster->holdsModifier())
            return;
        if (!m_thread || Deadline::clock::now() >= deadline)
            return m_poster->liftModifiers();
        m_thread->waitForRelease(releases, deadline);
    }
}

bool X11KeyEvents::canPost() const {
    return hasXTest();
}

bool X11KeyEvents::canDeliver(std::uint16_t keyCode) const {
    return hasXInput2() && m_poster->canDeliver(keyCode);
}

} // namespace fenlo
