#include "session/HotkeyListener.h"

#include "base/Log.h"
#include "platform/KeyCodes.h"

#include <array>

namespace fenlo {

namespace {

constexpr std::array table{
    Hotkey{"ctrl_l", "Left Control", mask::control, key::controlLeft},
    Hotkey{"shift_l", "Left Shift", mask::shift, key::shiftLeft},
    Hotkey{"cmd_l", "Left Command", mask::command, key::commandLeft},
    Hotkey{"option_r", "Right Option", mask::option, key::optionRight},
    Hotkey{"fn", "Fn (Globe)", mask::function, key::function},
};

void call(const std::function<void()>& closure) {
    if (closure)
        closure();
}

} // namespace

std::span<const Hotkey> hotkeys() {
    return table;
}

const Hotkey* findHotkey(std::string_view name) {
    for (const Hotkey& hotkey : table)
        if (name == hotkey.name)
            return &hotkey;
    return nullptr;
}

std::string hotkeyLabel(const std::string& name) {
    const Hotkey* hotkey = findHotkey(name);
    return hotkey ? hotkey->label : name;
}

HotkeyListener::HotkeyListener(KeyEvents& events, const std::string& keyName)
    : m_events(events), m_target(findHotkey(keyName)) {}

void HotkeyListener::start() {
    const auto sources = m_events.listen({
        .onFlagsChanged = [this](ModifierChange change) { handleFlags(change); },
        .onKeyDown = [this](std::uint16_t keyCode) { handleKeyDown(keyCode); },
    });
    logInfo("Hotkey monitors registered: global={}, local={}, eventTap={}", sources.global, sources.local,
            sources.eventTap);
}

void HotkeyListener::stop() {
    m_events.stopListening();
    m_pressed = false; // the release would not be heard, and the next press not be one
}

void HotkeyListener::setKey(const std::string& keyName) {
    m_target = findHotkey(keyName);
    m_pressed = false;
    logInfo("Hotkey changed to: {}", hotkeyLabel(keyName));
}

void HotkeyListener::handleFlags(ModifierChange change) {
    if (!m_target)
        return;
    const bool active = (change.flags & m_target->flagMask) != 0;
    if (active) {
        // The key code tells the key from its twin on the other side of the keyboard.
        if (change.keyCode == m_target->keyCode && !m_pressed) {
            m_pressed = true;
            m_commandMode = false;
            m_chordDetected = false;
            call(onPress);
        }
        return;
    }
    if (!m_pressed)
        return;
    m_pressed = false;
    if (m_chordDetected)
        m_chordDetected = false;
    else
        call(m_commandMode ? onCommandRelease : onRelease);
    m_commandMode = false;
}

void HotkeyListener::handleKeyDown(std::uint16_t keyCode) {
    // Only the first key after the modifier counts.
    if (!m_pressed || m_chordDetected || m_commandMode)
        return;
    if (keyCode == key::space) {
        m_commandMode = true;
        logInfo("Command mode activated (Space pressed)");
        call(onCommandActivated);
    } else {
        m_chordDetected = true;
        logInfo("Chord detected (hotkey + key), cancelling recording");
        call(onChordDetected);
    }
}

} // namespace fenlo
