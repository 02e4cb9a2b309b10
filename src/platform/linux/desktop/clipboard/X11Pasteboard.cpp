#include "platform/linux/desktop/clipboard/X11Pasteboard.h"

#include "platform/linux/desktop/clipboard/ClipboardHistory.h"
#include "platform/linux/desktop/clipboard/ClipboardThread.h"

namespace fenlo {

X11Pasteboard::X11Pasteboard() : m_thread(ClipboardThread::start()) {}

X11Pasteboard::~X11Pasteboard() = default;

bool X11Pasteboard::isConnected() const {
    return m_thread && m_thread->isConnected();
}

Pasteboard::Reading X11Pasteboard::string(double limit) {
    return m_thread ? m_thread->read(limit) : Reading{};
}

void X11Pasteboard::clear() {
    if (m_thread)
        m_thread->clear();
}

void X11Pasteboard::set(const std::string& text, Offer offer) {
    if (!m_thread)
        return;
    if (offer.transient && !m_history)
        m_history = std::make_unique<ClipboardHistory>();
    if (offer.transient)
        m_history->leaveOut(text);
    else if (m_history)
        m_history->admit(text);
    m_thread->set(text, offer);
}

Pasteboard::GiveBack X11Pasteboard::keep(double limit) {
    return m_thread ? m_thread->keep(limit) : [](Return) {};
}

} // namespace fenlo
