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
/// What the user holds to dictate: the key of this name, or what takes its place where no key is heard.
std::string heldLabel(const KeyEvents& keys, const std::string& name);

/// Turns one modifier key, pressed anywhere on the desktop, into the events of a dictation. It listens and never
/// interferes: the key and what is typed with it still reach the front application. Whether a press starts or toggles
/// a take is decided by the session. Triggers, in place of the key, become the same events; while one holds the take,
/// the key and what is typed count for nothing.
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
    /// Whether keys are heard, and not triggers alone.
    bool hearsKeys() const { return m_hearsKeys; }
    /// Follows a change of the setting. When the old key is held at that moment, its release reports nothing.
    void setKey(const std::string& keyName);

    std::function<void()> onPress;
    std::function<void()> onRelease;
    std::function<void()> onCommandActivated; // Space while the key is held
    std::function<void()> onCommandRelease;
    std::function<void()> onChordDetected; // another key while the key is held: a shortcut, no dictation
    /// A cancel while nothing is recorded; whether there was anything else to cancel.
    std::function<bool()> onCancel = [] { return false; };

    // What a toggle asks. By default a take lasts from a press to its release.
    std::function<bool()> isRecording = [this] { return m_holder != Holder::nobody; };
    std::function<bool()> pressesToggle = [] { return false; }; // a press begins and the next one ends

    /// Whether a trigger's press waits for a release that may never come.
    bool awaitsRelease() const { return m_holder == Holder::trigger; }
    /// Ends what a trigger began.
    TriggerOutcome endTriggered();

private:
    void handleFlags(ModifierChange change);
    void handleKeyDown(std::uint16_t keyCode);
    TriggerOutcome handleTrigger(Trigger trigger);

    /// Who holds the take: it ends when that one lets go.
    enum class Holder { nobody, key, trigger, toggle };
    bool isHeldByTrigger() const { return m_holder == Holder::trigger || m_holder == Holder::toggle; }

    void press(Holder holder);
    void release();
    void toggle();
    TriggerOutcome becomeCommand();
    TriggerOutcome cancel();

    KeyEvents& m_events;
    const Hotkey* m_target; // none: deaf to keys
    bool m_hearsKeys = false;
    Holder m_holder = Holder::nobody;
    bool m_commandMode = false;
    bool m_chordDetected = false;
};

} // namespace fenlo
