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

/// Puts text at the cursor of the front application through the clipboard, which works wherever one can paste: the text
/// goes onto the clipboard, the paste keys are posted, and a second later the old content returns.
///
/// Threads: main thread; insertText() blocks it for about a quarter of a second, and longer while the user holds a
///          modifier key.
/// Errors:  log lines only.
class TextInserter {
public:
    /// What returns to the clipboard after a paste.
    enum class Returning {
        text,       // the plain text alone, whatever is on the clipboard by then
        everything, // the whole content, unless something else has been copied meanwhile
    };

    enum class Typing {
        none,
        shortTexts, // of up to 120 characters, so that they do not appear in a clipboard history
        allTexts,   // of up to 2000 characters, for programs that refuse to paste
    };

    struct Options {
        Returning returning = Returning::text;
        /// Which texts are typed instead, if the keyboard has keys for them.
        std::function<Typing()> typing = [] { return Typing::none; };
        /// A text that could not be pasted waits on the clipboard for the user also where the program may press no key
        /// at all; without this it waits there for a second.
        bool waitsWithoutTrust = false;
    };

    /// Where an inserted text is.
    enum class Insertion {
        done,        // at the cursor, as far as one can know
        onClipboard, // it waits for the user to paste it, since nothing here can press the keys
    };

    TextInserter(Pasteboard& pasteboard, KeyEvents& keys, Accessibility& accessibility, Workspace& workspace,
                 Clock& clock, MainQueue& mainQueue)
        : TextInserter(pasteboard, keys, accessibility, workspace, clock, mainQueue, Options()) {}
    TextInserter(Pasteboard& pasteboard, KeyEvents& keys, Accessibility& accessibility, Workspace& workspace,
                 Clock& clock, MainQueue& mainQueue, Options options);
    /// Restores the clipboard at once if that is still to be done.
    ~TextInserter();
    TextInserter(const TextInserter&) = delete;
    TextInserter& operator=(const TextInserter&) = delete;

    Insertion insertText(const std::string& text);
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
    /// Reads the clipboard now. Returns a function that restores it.
    std::function<void()> keepClipboard();
    void restoreLater(std::function<void()> restore, double delay);

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
