#include "session/TextInserter.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/Accessibility.h"
#include "platform/KeyCodes.h"
#include "platform/KeyEvents.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

namespace fenlo {

namespace {

constexpr double settleDelay = 0.200;    // seconds from setting the clipboard to the paste
constexpr double keyHold = 0.050;        // some applications miss a key that is down for less
constexpr double restoreDelay = 1.0;     // seconds the text stays on the clipboard
constexpr double readLimit = 0.150;      // seconds for the old clipboard text
constexpr double modifierPatience = 1.5; // seconds to wait for the user's fingers
constexpr std::size_t shownCharacters = 60;

struct Chord {
    std::uint16_t keyCode;
    std::uint64_t flags;
};

Chord pasteChord(PasteChord chord) {
    switch (chord) {
    case PasteChord::controlShiftV:
        return {key::v, mask::command | mask::shift};
    case PasteChord::shiftInsert:
        return {key::insert, mask::shift};
    case PasteChord::controlV:
        break;
    }
    return {key::v, mask::command};
}

} // namespace

TextInserter::TextInserter(Pasteboard& pasteboard, KeyEvents& keys, Accessibility& accessibility, Workspace& workspace,
                           Clock& clock, MainQueue& mainQueue)
    : m_pasteboard(pasteboard), m_keys(keys), m_accessibility(accessibility), m_workspace(workspace), m_clock(clock),
      m_mainQueue(mainQueue) {}

TextInserter::~TextInserter() {
    for (const Restore& restore : m_restores)
        putBack(restore.saved);
}

void TextInserter::insertText(const std::string& text) {
    if (text.empty())
        return;
    std::string saved = m_pasteboard.string(readLimit).value_or("");
    m_pasteboard.clear();
    // Some programs paste the primary selection, so the text is offered there too while it is on loan.
    const auto application = m_workspace.frontApplication();
    const bool primary = application && application->paste == PasteChord::shiftInsert;
    m_pasteboard.set(text, {.transient = true, .primary = primary});
    log("[Fenlo] Clipboard set to: " + text::firstCharacters(text, shownCharacters) + "...");
    m_clock.sleep(settleDelay);
    pasteKeystroke();
    restoreLater(std::move(saved));
}

void TextInserter::pasteKeystroke() {
    if (!m_accessibility.trusted()) {
        log("[Fenlo] ERROR: Paste skipped: Accessibility not granted");
        return;
    }
    // A held modifier would turn the paste into another shortcut.
    m_keys.releaseModifiers(modifierPatience);
    const auto application = m_workspace.frontApplication();
    const Chord chord = pasteChord(application ? application->paste : PasteChord::controlV);
    if (!m_keys.post(chord.keyCode, chord.flags, KeyDirection::down)) {
        log("[Fenlo] ERROR: CGEvent: failed to create events");
        return;
    }
    m_clock.sleep(keyHold);
    m_keys.post(chord.keyCode, chord.flags, KeyDirection::up);
    log("[Fenlo] CGEvent paste OK");
}

void TextInserter::copyKeystroke() {
    // In a terminal plain Control-C would interrupt what runs there. Those of old know no other copy key either: they
    // take Control-Shift-C for the same.
    const auto application = m_workspace.frontApplication();
    if (application && application->paste == PasteChord::shiftInsert)
        return;
    const bool terminal = application && application->isTerminal;
    const std::uint64_t flags = terminal ? mask::command | mask::shift : mask::command;
    m_keys.post(key::c, flags, KeyDirection::down);
    m_keys.post(key::c, flags, KeyDirection::up);
}

void TextInserter::copyToClipboard(const std::string& text) {
    m_pasteboard.clear();
    m_pasteboard.set(text, {});
    log("[Fenlo] Copied to clipboard: " + text::firstCharacters(text, shownCharacters) + "...");
}

void TextInserter::restoreLater(std::string saved) {
    const auto restore = m_restores.insert(m_restores.end(), {std::move(saved), {}});
    restore->timer = m_mainQueue.postAfter(restoreDelay, [this, restore] {
        putBack(restore->saved);
        m_restores.erase(restore);
    });
}

void TextInserter::putBack(const std::string& saved) {
    m_pasteboard.clear();
    m_pasteboard.set(saved, {});
}

} // namespace fenlo
