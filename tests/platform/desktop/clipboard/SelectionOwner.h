#pragma once

#include "platform/linux/desktop/XcbConnection.h"

#include <atomic>
#include <map>
#include <optional>
#include <thread>

namespace fenlo::test {

/// Another program that owns the clipboard, behaving as the test says.
class SelectionOwner {
public:
    enum class Manner {
        answers,  // whole
        pieces,   // little by little
        silent,   // takes the question and never answers
        late,     // answers when answerNow() is called
        stops,    // begins to send pieces and then falls silent
        dribbles, // a byte in each piece
        onlyLatin // knows no Unicode
    };

    using Forms = std::map<std::string, std::string>;

    /// Without a text it offers the forms only.
    SelectionOwner(Manner manner, std::optional<std::string> text, Forms forms = {});
    ~SelectionOwner();

    void answerNow() { m_mayAnswer = true; }

private:
    void run(std::stop_token stop);
    void answer(const xcb_selection_request_event_t& request);
    std::vector<xcb_atom_t> targets();
    const std::string* contentFor(xcb_atom_t target);
    void sendPiece(const xcb_property_notify_event_t& fetched);

    const Manner m_manner;
    const std::optional<std::string> m_text;
    const Forms m_forms;
    const std::unique_ptr<XcbConnection> m_x = XcbConnection::open();
    const xcb_window_t m_window;
    std::atomic<bool> m_mayAnswer;
    std::vector<xcb_selection_request_event_t> m_unanswered;
    const std::string* m_content = nullptr; // being sent in pieces
    std::size_t m_sent = 0;
    xcb_atom_t m_property = XCB_ATOM_NONE;
    xcb_atom_t m_target = XCB_ATOM_NONE;
    std::jthread m_thread;
};

} // namespace fenlo::test
