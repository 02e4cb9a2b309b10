#pragma once

#include "platform/Workspace.h"

#include <cstdint>
#include <string>

namespace fenlo {

class Accessibility;
class Clock;
class KeyEvents;

/// The editing shortcuts of whatever has the focus: a window, a terminal, a terminal inside an editor, or a program
/// with keys of its own.
///
/// Threads: main thread. Finding out what has the focus waits for the front application, a tenth of a second at most.
class EditingKeys {
public:
    EditingKeys(KeyEvents& keys, Accessibility& accessibility, Workspace& workspace, Clock& clock);

    /// Whether a paste may take the primary selection instead of the clipboard.
    bool mayPastePrimary();

    /// Waits until the user holds no modifier, then pastes. False, with a log line, when nothing was posted because
    /// there is no key for it or the screen is locked.
    bool paste();
    /// The same keys in words for the user, such as "Ctrl+V".
    std::string pasteKeysName();
    /// Waits as paste() does, then types the text key by key. False when the layout lacks a character or the screen is
    /// locked.
    bool type(const std::string& text);
    /// Copies the selection; posts nothing where that would interrupt a program.
    void copy();
    /// Posts Command with this letter. Posts nothing in a terminal and in programs that paste with keys of their own,
    /// because the shortcut means something else there.
    void command(std::uint16_t letter);

private:
    PasteChord pasteChord();

    KeyEvents& m_keys;
    Accessibility& m_accessibility;
    Workspace& m_workspace;
    Clock& m_clock;
};

} // namespace fenlo
