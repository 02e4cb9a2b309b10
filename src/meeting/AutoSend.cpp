#include "meeting/AutoSend.h"

#include <utility>

namespace fenlo {

namespace {

constexpr int autoSendDelay = 60; // seconds

} // namespace

AutoSend::AutoSend(MainQueue& mainQueue, std::function<void(Done done)> send, std::function<void()> changed)
    : m_mainQueue(mainQueue), m_send(std::move(send)), m_changed(std::move(changed)) {}

void AutoSend::start() {
    m_isCancelled = false;
    m_isCompleted = false;
    m_countdown = autoSendDelay;
    m_timer = m_mainQueue.every(1, [this] { tick(); });
    m_changed();
}

void AutoSend::cancel() {
    m_timer.cancel();
    m_countdown = 0;
    m_isCancelled = true;
    m_changed();
}

void AutoSend::reset() {
    m_timer.cancel();
    m_countdown = 0;
    m_isCancelled = false;
    m_isCompleted = false;
    ++m_round;
    m_changed();
}

void AutoSend::tick() {
    if (m_countdown >= 2) {
        --m_countdown;
        m_changed();
        return;
    }
    m_timer.cancel();
    m_countdown = 0;
    m_send(m_lifetime.bind([this, round = m_round](bool isAccepted) {
        if (round != m_round)
            return;
        m_isCompleted = isAccepted;
        m_changed();
    }));
    m_changed();
}

} // namespace fenlo
