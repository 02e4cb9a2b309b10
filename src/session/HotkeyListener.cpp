#include "session/HotkeyListener.h"

#include "base/Log.h"
#include "platform/KeyCodes.h"

#include <array>
#include <utility>

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

std::string heldLabel(const KeyEvents& keys, const std::string& name) {
    const std::string substitute = keys.hotkeySubstitute();
    return substitute.empty() ? hotkeyLabel(name) : substitute;
}

HotkeyListener::HotkeyListener(KeyEvents& events, const std::string& keyName)
    : m_events(events), m_target(findHotkey(keyName)) {}

void HotkeyListener::start() {
    const auto sources = m_events.listen({
        .onFlagsChanged = [this](ModifierChange change) { handleFlags(change); },
        .onKeyDown = [this](std::uint16_t keyCode) { handleKeyDown(keyCode); },
        .onTrigger = [this](Trigger trigger) { return handleTrigger(trigger); },
    });
    m_hearsKeys = sources.global;
    logInfo("Hotkey monitors registered: global={}, local={}, eventTap={}", sources.global, sources.local,
            sources.eventTap);
}

void HotkeyListener::stop() {
    m_events.stopListening();
    m_holder = Holder::nobody; // the release would not be heard, and the next press not be one
}

void HotkeyListener::setKey(const std::string& keyName) {
    m_target = findHotkey(keyName);
    if (m_holder == Holder::key)
        m_holder = Holder::nobody;
    logInfo("Hotkey changed to: {}", hotkeyLabel(keyName));
}

void HotkeyListener::handleFlags(ModifierChange change) {
    if (!m_target)
        return;
    const bool active = (change.flags & m_target->flagMask) != 0;
    // The key code tells the key from its twin on the other side of the keyboard.
    if (active && change.keyCode == m_target->keyCode)
        press(Holder::key);
    else if (!active && m_holder == Holder::key)
        release();
}

void HotkeyListener::press(Holder holder) {
    // A take that a trigger holds may have ended by itself.
    if (isHeldByTrigger() && !isRecording())
        m_holder = Holder::nobody;
    if (m_holder != Holder::nobody)
        return;
    m_holder = holder;
    m_commandMode = false;
    m_chordDetected = false;
    call(onPress);
}

void HotkeyListener::release() {
    m_holder = Holder::nobody;
    if (m_chordDetected)
        m_chordDetected = false;
    else
        call(m_commandMode ? onCommandRelease : onRelease);
    m_commandMode = false;
}

void HotkeyListener::handleKeyDown(std::uint16_t keyCode) {
    // Only the first key after the modifier counts.
    if (m_holder != Holder::key || m_chordDetected || m_commandMode)
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

TriggerOutcome HotkeyListener::handleTrigger(Trigger trigger) {
    switch (trigger) {
    case Trigger::press:
        press(Holder::trigger);
        break;
    case Trigger::release:
        return endTriggered();
    case Trigger::toggle:
        toggle();
        break;
    case Trigger::command:
        return becomeCommand();
    case Trigger::cancel:
        return cancel();
    }
    return TriggerOutcome::done;
}

TriggerOutcome HotkeyListener::endTriggered() {
    if (!isHeldByTrigger())
        return TriggerOutcome::nothingUnderWay;
    release();
    return TriggerOutcome::done;
}

void HotkeyListener::toggle() {
    if (pressesToggle()) {
        press(Holder::toggle);
        endTriggered();
    } else if (isHeldByTrigger() && isRecording()) {
        release();
    } else {
        press(Holder::toggle);
    }
}

TriggerOutcome HotkeyListener::becomeCommand() {
    if (!isRecording() || m_chordDetected)
        return TriggerOutcome::nothingUnderWay;
    if (std::exchange(m_commandMode, true))
        return TriggerOutcome::done;
    logInfo("Command mode activated (triggered)");
    call(onCommandActivated);
    return TriggerOutcome::done;
}

TriggerOutcome HotkeyListener::cancel() {
    if (!isRecording() || m_chordDetected)
        return onCancel() ? TriggerOutcome::done : TriggerOutcome::nothingUnderWay;
    m_chordDetected = m_holder != Holder::nobody; // its release then says nothing
    logInfo("Recording cancelled (triggered)");
    call(onChordDetected);
    return TriggerOutcome::done;
}

} // namespace fenlo
