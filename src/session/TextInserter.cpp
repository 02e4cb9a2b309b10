#include "session/TextInserter.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/Accessibility.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

namespace fenlo {

namespace {

constexpr double settleDelay = 0.200; // seconds from setting the clipboard to the paste
constexpr double restoreDelay = 1.0;  // seconds the text stays on the clipboard
constexpr double readLimit = 0.150;   // seconds for what is on the clipboard
constexpr std::size_t loggedCharacters = 60;
/// Seconds that a text waits on the clipboard for the user: long enough for everyone who reads that it does, and what
/// was there before is not lost.
constexpr double userDelay = 300;

/// Longer texts would take longer than a paste, or for ever.
std::size_t typedCharacters(TextInserter::Typing typing) {
    switch (typing) {
    case TextInserter::Typing::shortTexts:
        return 120;
    case TextInserter::Typing::allTexts:
        return 2000;
    case TextInserter::Typing::none:
        break;
    }
    return 0;
}

} // namespace

TextInserter::TextInserter(Pasteboard& pasteboard, KeyEvents& keys, Accessibility& accessibility, Workspace& workspace,
                           Clock& clock, MainQueue& mainQueue, Options options)
    : m_pasteboard(pasteboard), m_accessibility(accessibility), m_workspace(workspace), m_clock(clock),
      m_mainQueue(mainQueue), m_keys(keys, accessibility, workspace, clock), m_options(std::move(options)) {}

TextInserter::~TextInserter() {
    for (const Restore& restore : m_restores)
        restore.run();
}

TextInserter::Insertion TextInserter::insertText(const std::string& text) {
    if (text.empty())
        return Insertion::done;
    if (m_workspace.isScreenLocked()) {
        logInfo("Screen locked: nothing is pasted");
        return Insertion::done;
    }
    if (typeInstead(text))
        return Insertion::done;
    auto restore = keepClipboard();
    m_pasteboard.clear();
    // Some programs paste the primary selection, so the text is offered there too for the moment.
    m_pasteboard.set(text, {.transient = true, .primary = m_keys.mayPastePrimary()});
    logInfo("Clipboard set to: {}...", text::firstCharacters(text, loggedCharacters));
    m_clock.sleep(settleDelay);
    const bool isPasted = pasteKeystroke();
    const bool mayWait = m_accessibility.trusted() || m_options.waitsWithoutTrust;
    if (isPasted || !mayWait || m_workspace.isScreenLocked()) {
        restoreLater(std::move(restore), restoreDelay);
        return Insertion::done;
    }
    logError("No key of this keyboard pastes; the text stays on the clipboard");
    m_restores.clear(); // the clipboard of an earlier paste must not replace the text
    restoreLater(std::move(restore), userDelay);
    return Insertion::onClipboard;
}

bool TextInserter::typeInstead(const std::string& text) {
    const std::size_t most = typedCharacters(m_options.typing());
    if (most == 0 || text::characterCount(text) > most || !m_accessibility.trusted() || !m_keys.type(text))
        return false;
    logInfo("Typed: {}...", text::firstCharacters(text, loggedCharacters));
    return true;
}

bool TextInserter::pasteKeystroke() {
    if (!m_accessibility.trusted()) {
        logError("Paste skipped: Accessibility not granted");
        return false;
    }
    return m_keys.paste();
}

void TextInserter::copyToClipboard(const std::string& text) {
    m_pasteboard.clear();
    m_pasteboard.set(text, {});
    logInfo("Copied to clipboard: {}...", text::firstCharacters(text, loggedCharacters));
}

std::function<void()> TextInserter::keepClipboard() {
    if (m_options.returning == Returning::everything) {
        // The clipboard of an earlier paste that was not restored yet is restored after this one.
        m_restores.clear();
        return [giveBack = m_pasteboard.keep(readLimit)] { giveBack(Pasteboard::Return::afterLoan); };
    }
    return [this, saved = m_pasteboard.string(readLimit)] {
        if (!saved.isAnswered)
            return;
        m_pasteboard.clear();
        m_pasteboard.set(saved.text.value_or(""), {});
    };
}

void TextInserter::restoreLater(std::function<void()> run, double delay) {
    const auto restore = m_restores.insert(m_restores.end(), {std::move(run), {}});
    restore->timer = m_mainQueue.postAfter(delay, [this, restore] {
        restore->run();
        m_restores.erase(restore);
    });
}

} // namespace fenlo
