#pragma once

#include "platform/linux/desktop/XcbConnection.h"

#include <atomic>
#include <functional>
#include <thread>

namespace fenlo::test {

/// Another program that owns the clipboard, behaving as the test says.
class SelectionOwner {
public:
    enum class Manner {
        answers,  // whole
        pieces,   // little by little
        silent,   // takes the question and never answers
        stops,    // begins to send pieces and then falls silent
        onlyLatin // knows no Unicode
    };

    SelectionOwner(Manner manner, std::string text);
    ~SelectionOwner();

private:
    void run(std::stop_token stop);
    void answer(const xcb_selection_request_event_t& request);
    void sendPiece(const xcb_property_notify_event_t& fetched);

    const Manner m_manner;
    const std::string m_text;
    const std::unique_ptr<XcbConnection> m_x = XcbConnection::open();
    const xcb_window_t m_window;
    std::size_t m_sent = 0;
    xcb_atom_t m_property = XCB_ATOM_NONE;
    xcb_atom_t m_target = XCB_ATOM_NONE;
    std::jthread m_thread;
};

} // namespace fenlo::test
