#pragma once

#include "platform/linux/desktop/XcbConnection.h"

#include <memory>
#include <vector>

namespace fenlo {

/// A question to a selection's owner for one form of its content.
struct SelectionConversion {
    enum class State {
        asked,    // no answer yet
        arriving, // in pieces
        done,     // `content` is whole
        failed,   // the owner refused it, or it is too large
    };

    xcb_atom_t selection, target;
    xcb_atom_t property; // where the answer goes
    xcb_timestamp_t time;
    State state = State::asked;
    XcbConnection::Property content;

    bool isOpen() const { return state == State::asked || state == State::arriving; }
};

/// Asks the owners of selections for their content and takes the answers whenever they come. The owner at the time of
/// asking answers, even when another has taken the selection since.
///
/// Threads:  one.
/// Lifetime: a conversion ends when nobody holds it any more.
class SelectionConversions {
public:
    static constexpr std::size_t largest = 64UL * 1024 * 1024; // bytes of one form

    /// The window receives the answers.
    SelectionConversions(XcbConnection& x, xcb_window_t window) : m_x(x), m_window(window) {}

    std::shared_ptr<const SelectionConversion> start(xcb_atom_t selection, xcb_atom_t target, xcb_timestamp_t time);

    void handle(const xcb_generic_event_t& event);

private:
    using Conversion = SelectionConversion;

    /// A property that no open conversion uses.
    xcb_atom_t freeProperty();
    void take(const xcb_selection_notify_event_t& answer);
    void takePiece(Conversion& conversion);
    template <typename Matches>
    std::shared_ptr<Conversion> find(Matches&& matches);

    XcbConnection& m_x;
    const xcb_window_t m_window;
    std::vector<std::weak_ptr<Conversion>> m_conversions;
    unsigned m_started = 0;
};

} // namespace fenlo
