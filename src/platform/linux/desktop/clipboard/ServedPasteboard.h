#pragma once

#include "platform/Pasteboard.h"

#include <memory>

namespace fenlo {

class ClipboardHistory;
class ClipboardThread;
class Selections;

/// A desktop's clipboard, served and read by a thread with a connection of its own. Large contents go in pieces, both
/// ways.
///
/// Threads:  as Pasteboard.
/// Errors:   without a connection there is no text and set() does nothing.
/// Lifetime: at the end, a text that is not transient is handed to the clipboard manager, if there is one.
class ServedPasteboard final : public Pasteboard {
public:
    /// Of X11 (X11Selections) or of Wayland (DataControl); null when the session has none.
    explicit ServedPasteboard(std::unique_ptr<Selections> selections);
    ~ServedPasteboard() override;

    bool isConnected() const;

    Reading string(double limit) override;
    void clear() override;
    void set(const std::string& text, Offer offer) override;
    GiveBack keep(double limit) override;

private:
    std::unique_ptr<ClipboardThread> m_thread;
    std::unique_ptr<ClipboardHistory> m_history; // from the first transient text on
};

} // namespace fenlo
