#include "platform/linux/desktop/X11Pasteboard.h"

#include "platform/linux/desktop/ClipboardThread.h"

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
    if (m_thread)
        m_thread->set(text, offer);
}

Pasteboard::GiveBack X11Pasteboard::keep(double limit) {
    return m_thread ? m_thread->keep(limit) : [](Return) {};
}

} // namespace fenlo
