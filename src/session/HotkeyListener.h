#pragma once

#include "platform/KeyEvents.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fenlo {

/// A key that may be chosen for dictation.
struct Hotkey {
    const char* name;  // what the settings hold
    const char* label; // what people read
    std::uint64_t flagMask;
    std::uint16_t keyCode;
};

std::span<const Hotkey> hotkeys();
/// Nothing for an unknown name.
const Hotkey* findHotkey(std::string_view name);
/// The label of the key; an unknown name stays as it is.
std::string hotkeyLabel(const std::string& name);

/// Turns one modifier key, pressed anywhere on the desktop, into the events of a dictation. It listens and never
/// interferes: the key and what is typed with it still reach the front application. Whether a press starts or toggles
/// a take is decided by the session.
///
/// Threads: main thread only; the closures are called there. Set them before start().
class HotkeyListener {
public:
    HotkeyListener(KeyEvents& events, const std::string& keyName);
    ~HotkeyListener() { stop(); }
    HotkeyListener(const HotkeyListener&) = delete;
    HotkeyListener& operator=(const HotkeyListener&) = delete;

    void start();
    void stop();
    /// Follows a change of the setting. When the old key is held at that moment, its release reports nothing.
    void setKey(const std::string& keyName);

    std::function<void()> onPress;
    std::function<void()> onRelease;
    std::function<void()> onCommandActivated; // Space while the key is held
    std::function<void()> onCommandRelease;
    std::function<void()> onChordDetected; // another key while the key is held: a shortcut, no dictation

private:
    void handleFlags(ModifierChange change);
    void handleKeyDown(std::uint16_t keyCode);

    KeyEvents& m_events;
    const Hotkey* m_target; // none: the listener is deaf
    bool m_pressed = false;
    bool m_commandMode = false;
    bool m_chordDetected = false;
};

} // namespace fenlo
