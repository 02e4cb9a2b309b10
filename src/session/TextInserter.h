#pragma once

#include "base/MainQueue.h"
#include "session/EditingKeys.h"

#include <functional>
#include <list>
#include <string>

namespace fenlo {

class Accessibility;
class Clock;
class KeyEvents;
class Pasteboard;
class Workspace;

/// Puts text at the cursor of the front application by way of the clipboard, which works wherever one can paste: the
/// text goes onto the clipboard, the paste keys are posted, and a second later what was there before returns.
///
/// Threads: main thread; insertText() blocks it for about a quarter of a second, and longer while the user holds a
///          modifier key.
/// Errors:  log lines only.
class TextInserter {
public:
    /// What returns to the clipboard after a paste.
    enum class Returning {
        text,       // the plain text alone, whatever has become of the clipboard meanwhile
        everything, // all that lay there, unless something else has been copied meanwhile
    };

    struct Options {
        Returning returning = Returning::text;
        /// Whether texts of up to 120 characters that the keyboard has keys for are typed, so that no clipboard history
        /// sees them.
        std::function<bool()> typesShortTexts = [] { return false; };
    };

    TextInserter(Pasteboard& pasteboard, KeyEvents& keys, Accessibility& accessibility, Workspace& workspace,
                 Clock& clock, MainQueue& mainQueue)
        : TextInserter(pasteboard, keys, accessibility, workspace, clock, mainQueue, Options()) {}
    TextInserter(Pasteboard& pasteboard, KeyEvents& keys, Accessibility& accessibility, Workspace& workspace,
                 Clock& clock, MainQueue& mainQueue, Options options);
    /// A clipboard that is still borrowed is given back at once.
    ~TextInserter();
    TextInserter(const TextInserter&) = delete;
    TextInserter& operator=(const TextInserter&) = delete;

    void insertText(const std::string& text);
    /// Leaves the text on the clipboard for good.
    void copyToClipboard(const std::string& text);
    /// The paste keys of whatever has the focus. False when none were posted.
    bool pasteKeystroke();
    EditingKeys& keys() { return m_keys; }

private:
    struct Restore {
        std::function<void()> run;
        Timer timer;
    };

    bool typeInstead(const std::string& text);
    /// Looks at the clipboard now. Returns what brings it back.
    std::function<void()> keepClipboard();
    void restoreLater(std::function<void()> restore);

    Pasteboard& m_pasteboard;
    Accessibility& m_accessibility;
    Workspace& m_workspace;
    Clock& m_clock;
    MainQueue& m_mainQueue;
    EditingKeys m_keys;
    const Options m_options;
    std::list<Restore> m_restores; // oldest first
};

} // namespace fenlo
