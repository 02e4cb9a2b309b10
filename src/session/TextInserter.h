#pragma once

#include "base/MainQueue.h"
#include "session/EditingKeys.h"

#include <list>
#include <string>

namespace fenlo {

class Accessibility;
class Clock;
class KeyEvents;
class Pasteboard;
class Workspace;

/// Puts text at the cursor of the front application by way of the clipboard, which works wherever one can paste: the
/// text goes onto the clipboard, the paste keys are posted, and a second later the old clipboard text returns.
///
/// Threads: main thread; insertText() blocks it for about a quarter of a second, and longer while the user holds a
///          modifier key.
/// Errors:  log lines only.
class TextInserter {
public:
    TextInserter(Pasteboard& pasteboard, KeyEvents& keys, Accessibility& accessibility, Workspace& workspace,
                 Clock& clock, MainQueue& mainQueue);
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
        std::string saved;
        Timer timer;
    };

    void restoreLater(std::string saved);
    void putBack(const std::string& saved);

    Pasteboard& m_pasteboard;
    Accessibility& m_accessibility;
    Workspace& m_workspace;
    Clock& m_clock;
    MainQueue& m_mainQueue;
    EditingKeys m_keys;
    std::list<Restore> m_restores; // oldest first
};

} // namespace fenlo
