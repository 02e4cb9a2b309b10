#include "shell/home/HotkeyTest.h"

#include "base/NotificationCenter.h"
#include "settings/Config.h"

namespace fenlo {

namespace {

constexpr double patience = 15; // seconds, after which dictation is worth more than the test

} // namespace

HotkeyTest::HotkeyTest(const Config& config, KeyEvents& keys, NotificationCenter& notifications, MainQueue& mainQueue)
    : m_config(config), m_keys(keys), m_notifications(notifications), m_mainQueue(mainQueue) {}

void HotkeyTest::begin() {
    stopListening();
    m_keyName = m_config.get().hotkey;
    const Hotkey* hotkey = findHotkey(m_keyName);
    const bool isReplaced = !m_keys.hotkeySubstitute().empty();
    if (!isReplaced && (!hotkey || !m_keys.canDeliver(hotkey->keyCode))) {
        become(State::missing);
        return;
    }
    listen();
    m_patience = m_mainQueue.postAfter(patience, [this] { finish(State::unheard); });
    become(State::waiting);
}

void HotkeyTest::listen() {
    m_notifications.post(notification::hotkeyPause);
    m_listener = std::make_unique<HotkeyListener>(m_keys, m_keyName);
    m_listener->onPress = [this] { pressed(); };
    // A listener must not end inside its own call.
    const auto released = [this] { m_mainQueue.post(m_lifetime.bind([this] { finish(State::heard); })); };
    m_listener->onRelease = released;
    m_listener->onCommandRelease = released;
    m_listener->onChordDetected = released; // its release will not be told
    m_listener->start();
}

void HotkeyTest::pressed() {
    m_patience.cancel();
    become(State::held);
}

void HotkeyTest::finish(State state) {
    if (!m_listener)
        return;
    stopListening();
    become(state);
}

void HotkeyTest::stopListening() {
    m_patience.cancel();
    if (!m_listener)
        return;
    m_listener.reset();
    m_notifications.post(notification::hotkeyResume);
}

void HotkeyTest::end() {
    stopListening();
    m_state = State::off;
    m_changes.tell();
}

void HotkeyTest::become(State state) {
    m_state = state;
    m_changes.tell();
}

std::string HotkeyTest::keyLabel() const {
    return heldLabel(m_keys, m_config.get().hotkey);
}

std::string HotkeyTest::line() const {
    const bool isReplaced = !m_keys.hotkeySubstitute().empty();
    const std::string key = heldLabel(m_keys, m_keyName);
    switch (m_state) {
    case State::off:
        return {};
    case State::waiting:
        return "Hold " + key + " now, then let go.";
    case State::held:
        return "Fenlo hears the key. Let go.";
    case State::heard:
        return isReplaced ? "Fenlo heard " + key + "." : key + " works.";
    case State::unheard:
        return "Fenlo did not hear " + key + ". " +
               (isReplaced ? "`fenlo doctor` tells how to set it up." : "Try again, or choose another key.");
    case State::missing:
        return "This keyboard does not deliver " + key + ". Choose another key.";
    }
    return {};
}

} // namespace fenlo
