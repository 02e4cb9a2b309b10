#pragma once

#include "platform/Pasteboard.h"
#include "platform/linux/desktop/XcbConnection.h"

#include <chrono>
#include <list>

namespace fenlo {

/// Offers a text as selection and answers the programs that ask for it, large texts in pieces (INCR).
///
/// Threads: one.
class SelectionServer {
public:
    using Clock = std::chrono::steady_clock;

    /// The window owns the selections.
    SelectionServer(XcbConnection& x, xcb_window_t window) : m_x(x), m_window(window) {}

    /// Takes the clipboard, and the primary selection when the offer says so; else gives that up again.
    void offer(std::string text, Pasteboard::Offer offer, xcb_timestamp_t time);
    /// Empties the clipboard, whoever owns it.
    void clear(xcb_timestamp_t time);

    /// Whether the clipboard is ours, as far as the server has told.
    bool ownsClipboard() const { return m_clipboard.isOwned; }
    const std::string& text() const { return *m_text; }
    bool isTransient() const { return m_offer.transient; }

    void handle(const xcb_generic_event_t& event);

    /// Forgets the pieces that nobody fetches. Returns whether some are still on their way.
    bool dropStalled(Clock::time_point now);

    /// The targets that a text is worth keeping in.
    std::vector<xcb_atom_t> textTargets();

private:
    struct Selection {
        bool isOwned = false;
        xcb_timestamp_t since = XCB_CURRENT_TIME;
    };

    /// A text that goes to a window in pieces. It stays the same although another one is offered meanwhile.
    struct Transfer {
        xcb_window_t requestor;
        xcb_atom_t property;
        xcb_atom_t target;
        std::shared_ptr<const std::string> bytes;
        std::size_t sent = 0;
        Clock::time_point lastFetch;
    };

    Selection* selection(xcb_atom_t name);
    void lose(const xcb_selection_clear_event_t& cleared);
    void answer(const xcb_selection_request_event_t& request);
    bool convert(const Selection& selection, xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    bool convertMultiple(const Selection& selection, xcb_window_t requestor, xcb_atom_t property);
    std::vector<xcb_atom_t> targets();
    std::shared_ptr<const std::string> bytesFor(xcb_atom_t target);
    void send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t target, std::shared_ptr<const std::string> bytes);
    void sendNextPiece(xcb_window_t requestor, xcb_atom_t property);
    void endTransfers(xcb_window_t requestor, xcb_atom_t property);
    std::size_t pieceSize() const;

    XcbConnection& m_x;
    const xcb_window_t m_window;
    std::shared_ptr<const std::string> m_text = std::make_shared<const std::string>();
    std::shared_ptr<const std::string> m_latin; // the text in ISO 8859-1; nothing when it has other characters
    Pasteboard::Offer m_offer;
    Selection m_clipboard, m_primary;
    std::list<Transfer> m_transfers;
};

} // namespace fenlo
