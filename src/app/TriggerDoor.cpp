#include "app/TriggerDoor.h"

#include "base/MainQueue.h"
#include "platform/KeyEvents.h"

namespace fenlo {

TriggerDoor::TriggerDoor(KeyEvents& keys, MainQueue& mainQueue, const std::filesystem::path& controlFile)
    : m_keys(keys), m_mainQueue(mainQueue),
      m_socket(ControlSocket::open(controlFile, [this](const std::string& word, ControlSocket::Answer answer) {
          hear(word, std::move(answer));
      })) {}

/// On the socket's thread.
void TriggerDoor::hear(const std::string& word, ControlSocket::Answer answer) {
    const auto trigger = triggerNamed(word);
    if (!trigger)
        return answer("error the running Fenlo does not know this order; it may be of another version: start it again");
    m_mainQueue.post(
        m_lifetime.bind([this, trigger = *trigger, answer = std::move(answer)] { answer(carryOut(trigger)); }));
}

std::string TriggerDoor::carryOut(Trigger trigger) {
    // After a cancel the next press is a new one, also without a release between.
    if (trigger == Trigger::release || trigger == Trigger::cancel)
        m_edges.released();
    switch (trigger == Trigger::press ? press() : m_keys.trigger(trigger)) {
    case TriggerOutcome::done:
        return "ok";
    case TriggerOutcome::nothingUnderWay:
        return "error nothing is being dictated; begin with `fenlo trigger press` or `toggle`";
    case TriggerOutcome::notListening:
        break;
    }
    return "error Fenlo does not take dictations now; finish its first start or its login";
}

TriggerOutcome TriggerDoor::press() {
    switch (m_edges.pressed(Deadline::clock::now())) {
    case ShortcutEdges::Meaning::repetition:
        return TriggerOutcome::done;
    case ShortcutEdges::Meaning::pressAfterLostRelease:
        m_keys.trigger(Trigger::release);
        break;
    case ShortcutEdges::Meaning::press:
        break;
    }
    return m_keys.trigger(Trigger::press);
}

} // namespace fenlo
