#include "platform/linux/wayland/keys/KeyboardListener.h"

namespace fenlo {

KeyboardListener::KeyboardListener(Keyboards::Options keyboards, KeyEvents::Listener sinks)
    : m_held(std::move(sinks)),
      m_keyboards(std::move(keyboards), {.onKey = [this](std::uint16_t code, bool isDown) { handle(code, isDown); },
                                         .onHeldBefore =
                                             [this](std::uint16_t code) {
                                                 m_held.adopt(code, KeyMeanings().of(code));
                                                 tellModifiers();
                                             }}),
      m_couldHear(m_keyboards.hearAny()), m_activity([this](bool isActive) { m_keyboards.setActive(isActive); }) {}

void KeyboardListener::setLayout(const SessionKeymap& layout) {
    auto meanings = std::make_shared<const KeyMeanings>(layout);
    m_meanings.with([&](auto& current) { current = std::move(meanings); });
}

void KeyboardListener::handle(std::uint16_t code, bool isDown) {
    const auto meanings = m_meanings.with([](const auto& current) { return current; });
    if (isDown)
        m_held.press(code, meanings->of(code));
    else
        m_held.release(code);
    tellModifiers();
}

void KeyboardListener::tellModifiers() {
    const std::lock_guard lock(m_mutex);
    m_holdsModifier = m_held.flags() != 0;
    m_changed.notify_all();
}

bool KeyboardListener::waitForModifiers(Deadline until) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_until(lock, until, [this] { return !m_holdsModifier; });
}

} // namespace fenlo
