#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "session/HotkeyListener.h"

#include <memory>
#include <string>

namespace fenlo {

class Config;
class KeyEvents;
class NotificationCenter;

/// "Press it now": hears the hotkey with the program's own ears. Dictation pauses meanwhile.
///
/// Threads: main thread only.
class HotkeyTest {
public:
    enum class State {
        off,     // not begun, or given up
        waiting, // for the press
        held,
        heard,   // pressed and released; dictation goes on
        unheard, // nothing came in time
        missing, // this keyboard does not deliver the key
    };

    HotkeyTest(const Config& config, KeyEvents& keys, NotificationCenter& notifications, MainQueue& mainQueue);
    ~HotkeyTest() { end(); }
    HotkeyTest(const HotkeyTest&) = delete;
    HotkeyTest& operator=(const HotkeyTest&) = delete;

    /// Begins with the key of the settings, anew when one is under way.
    void begin();
    /// Gives up; dictation goes on.
    void end();

    State state() const { return m_state; }
    bool isListening() const { return m_listener != nullptr; }
    /// What is to be held: the key of the settings, or what takes its place.
    std::string keyLabel() const;
    /// The state in a sentence; empty when off.
    std::string line() const;

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void listen();
    void stopListening();
    void pressed();
    void finish(State state);
    void become(State state);

    const Config& m_config;
    KeyEvents& m_keys;
    NotificationCenter& m_notifications;
    MainQueue& m_mainQueue;
    State m_state = State::off;
    std::string m_keyName;
    std::unique_ptr<HotkeyListener> m_listener;
    Timer m_patience;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
