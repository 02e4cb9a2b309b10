#include "session/EditingKeys.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "platform/Accessibility.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"

namespace fenlo {

namespace {

constexpr double keyHold = 0.050;        // seconds; some applications miss a key that is down for less
constexpr double modifierPatience = 1.5; // seconds to wait for the user's fingers
constexpr double focusLimit = 0.100;     // seconds for the front application to tell what has the focus

struct Chord {
    std::uint16_t keyCode;
    std::uint64_t flags;
};

Chord chordOf(PasteChord paste) {
    switch (paste) {
    case PasteChord::controlShiftV:
        return {key::v, mask::command | mask::shift};
    case PasteChord::shiftInsert:
        return {key::insert, mask::shift};
    case PasteChord::controlV:
        break;
    }
    return {key::v, mask::command};
}

void tap(KeyEvents& keys, std::uint16_t keyCode, std::uint64_t flags) {
    if (keys.post(keyCode, flags, KeyDirection::down))
        keys.post(keyCode, flags, KeyDirection::up);
}

} // namespace

EditingKeys::EditingKeys(KeyEvents& keys, Accessibility& accessibility, Workspace& workspace, Clock& clock)
    : m_keys(keys), m_accessibility(accessibility), m_workspace(workspace), m_clock(clock) {}

bool EditingKeys::mayPastePrimary() {
    const auto application = m_workspace.frontApplication();
    // A keyboard without the letter V pastes by the Insert key, which takes the primary selection in some programs.
    return (application && application->paste == PasteChord::shiftInsert) || !m_keys.canDeliver(key::v);
}

bool EditingKeys::paste() {
    // A held modifier would turn the paste into another shortcut.
    m_keys.releaseModifiers(modifierPatience);
    const Chord chord = chordOf(pasteChord());
    if (m_workspace.isScreenLocked()) {
        logInfo("Screen locked meanwhile: nothing is pasted");
        return false;
    }
    if (!m_keys.post(chord.keyCode, chord.flags, KeyDirection::down)) {
        logError("CGEvent: failed to create events");
        return false;
    }
    m_clock.sleep(keyHold);
    m_keys.post(chord.keyCode, chord.flags, KeyDirection::up);
    logInfo("CGEvent paste OK");
    return true;
}

std::string EditingKeys::pasteKeysName() {
    switch (pasteChord()) {
    case PasteChord::controlShiftV:
        return "Ctrl+Shift+V";
    case PasteChord::shiftInsert:
        return "Shift+Insert";
    case PasteChord::controlV:
        break;
    }
    return "Ctrl+V";
}

bool EditingKeys::type(const std::string& text) {
    m_keys.releaseModifiers(modifierPatience);
    return !m_workspace.isScreenLocked() && m_keys.type(text);
}

void EditingKeys::copy() {
    // In a terminal Control-C would interrupt the running program, and in an old terminal Control-Shift-C does so too.
    const PasteChord paste = pasteChord();
    if (paste != PasteChord::shiftInsert)
        tap(m_keys, key::c, chordOf(paste).flags);
}

void EditingKeys::command(std::uint16_t letter) {
    if (pasteChord() == PasteChord::controlV)
        tap(m_keys, letter, mask::command);
    else
        logInfo("This shortcut means something else here; no key was posted");
}

PasteChord EditingKeys::pasteChord() {
    const auto application = m_workspace.frontApplication();
    if (application && (application->isOwn || application->paste != PasteChord::controlV))
        return application->paste;
    const auto element = m_accessibility.focusedElement(focusLimit);
    return element && element->isTerminal ? PasteChord::controlShiftV : PasteChord::controlV;
}

} // namespace fenlo
