#include "platform/linux/desktop/clipboard/ServedPasteboard.h"

#include "platform/linux/desktop/clipboard/ClipboardHistory.h"
#include "platform/linux/desktop/clipboard/ClipboardThread.h"

namespace fenlo {

ServedPasteboard::ServedPasteboard(std::unique_ptr<Selections> selections)
    : m_thread(selections ? std::make_unique<ClipboardThread>(std::move(selections)) : nullptr) {}

ServedPasteboard::~ServedPasteboard() = default;

bool ServedPasteboard::isConnected() const {
    return m_thread && m_thread->isConnected();
}

Pasteboard::Reading ServedPasteboard::string(double limit) {
    return m_thread ? m_thread->read(limit) : Reading{};
}

void ServedPasteboard::clear() {
    if (m_thread)
        m_thread->clear();
}

void ServedPasteboard::set(const std::string& text, Offer offer) {
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

Pasteboard::GiveBack ServedPasteboard::keep(double limit) {
    return m_thread ? m_thread->keep(limit) : [](Return) {};
}

} // namespace fenlo
