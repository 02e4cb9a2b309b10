#pragma once

#include "platform/linux/desktop/XcbConnection.h"
#include "platform/linux/desktop/clipboard/SelectionContents.h"
#include "platform/linux/desktop/clipboard/Selections.h"

#include <chrono>
#include <list>

namespace fenlo {

/// Offers contents as the clipboard and as the primary selection, and answers the programs that ask for them, large
/// ones in pieces (INCR).
///
/// Threads: one.
class SelectionServer {
public:
    using Clock = std::chrono::steady_clock;

    using Stay = Selections::Stay;

    /// The window owns the selections.
    SelectionServer(XcbConnection& x, xcb_window_t window)
        : m_x(x), m_window(window), m_selections{{x.atom("CLIPBOARD"), {}}, {XCB_ATOM_PRIMARY, {}}} {}

    /// Takes the selection.
    void offer(xcb_atom_t selection, SelectionContents contents, Stay stay, xcb_timestamp_t time);
    /// Empties the selection, whoever owns it now.
    void clear(xcb_atom_t selection, xcb_timestamp_t time);

    /// Whether the selection is ours, as far as the server has told.
    bool owns(xcb_atom_t selection) const { return m_selections.at(selection).isOwned; }
    bool lends(xcb_atom_t selection) const {
        return owns(selection) && m_selections.at(selection).stay == Stay::onLoan;
    }
    const SelectionContents& contents(xcb_atom_t selection) const { return *m_selections.at(selection).contents; }
    /// The targets in which a selection of ours is kept.
    std::vector<xcb_atom_t> contentTargets(xcb_atom_t selection) { return contentTargets(m_selections.at(selection)); }

    void handle(const xcb_generic_event_t& event);

    /// Drops transfers whose reader has gone. Returns whether others are still under way.
    bool dropStalled(Clock::time_point now);

private:
    struct Selection {
        bool isOwned = false;
        xcb_timestamp_t since = XCB_CURRENT_TIME;
        std::shared_ptr<const SelectionContents> contents = std::make_shared<const SelectionContents>();
        std::shared_ptr<const std::string> latin; // the text in ISO 8859-1; nothing when it has other characters
        Stay stay = Stay::lasting;
    };

    struct Answer {
        xcb_atom_t type;
        std::shared_ptr<const std::string> bytes;
        std::uint8_t format = 8;
    };

    /// An answer that goes to a window in pieces; it keeps its content when something else is offered meanwhile.
    struct Transfer {
        xcb_window_t requestor;
        xcb_atom_t property;
        Answer answer;
        std::size_t sent = 0;
        Clock::time_point lastFetch;
    };

    void lose(const xcb_selection_clear_event_t& cleared);
    void answer(const xcb_selection_request_event_t& request);
    bool convert(const Selection& selection, xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    bool convertMultiple(const Selection& selection, xcb_window_t requestor, xcb_atom_t property);
    std::vector<xcb_atom_t> contentTargets(const Selection& selection);
    std::vector<xcb_atom_t> textTargets();
    std::optional<Answer> answerFor(const Selection& selection, xcb_atom_t target);
    void send(xcb_window_t requestor, xcb_atom_t property, Answer answer);
    void sendNextPiece(xcb_window_t requestor, xcb_atom_t property);
    void endTransfers(xcb_window_t requestor, xcb_atom_t property);
    std::size_t pieceSize() const;

    XcbConnection& m_x;
    const xcb_window_t m_window;
    std::map<xcb_atom_t, Selection> m_selections; // the clipboard and the primary selection
    std::list<Transfer> m_transfers;
};

} // namespace fenlo
