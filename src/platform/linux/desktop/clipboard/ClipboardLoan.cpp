#include "platform/linux/desktop/clipboard/ClipboardLoan.h"

#include "base/Log.h"

#include <utility>

namespace fenlo {

namespace {

using Stay = SelectionServer::Stay;

constexpr auto latePatience = std::chrono::seconds(3);
/// The primary selection is saved while the text on the clipboard settles before the paste.
constexpr auto primaryLimit = std::chrono::milliseconds(100);

} // namespace

ClipboardLoan::ClipboardLoan(XcbConnection& x, xcb_window_t window, SelectionServer& server, ClipboardEvents& events,
                             SelectionSaver& saver)
    : m_x(x), m_window(window), m_server(server), m_events(events), m_saver(saver), m_clipboard(x.atom("CLIPBOARD")) {}

ClipboardLoan::Saved ClipboardLoan::keep(Clock::time_point deadline) {
    if (const auto returning = std::exchange(m_return, {}))
        m_kept = returning->saved;
    else if (!m_server.lends(m_clipboard) || !m_kept)
        m_kept = save(m_clipboard, deadline);
    return m_kept;
}

ClipboardLoan::Saved ClipboardLoan::save(xcb_atom_t selection, Clock::time_point deadline) {
    const xcb_window_t owner = m_x.selectionOwner(selection);
    if (owner == XCB_WINDOW_NONE)
        return std::make_shared<const SavedSelection>();
    if (owner == m_window)
        return std::make_shared<const SavedSelection>(m_server.contents(selection));
    return m_saver.save(selection, deadline);
}

void ClipboardLoan::giveBack(Saved saved, Pasteboard::Return why) {
    endPrimary();
    m_return = {std::move(saved), why, Clock::now() + latePatience};
}

std::optional<ClipboardLoan::Clock::time_point> ClipboardLoan::due() const {
    if (!m_return)
        return std::nullopt;
    return m_return->saved->isSettled() ? Clock::time_point::min() : m_return->due;
}

void ClipboardLoan::settle(bool isLast) {
    if (!m_return || !(isLast || m_return->saved->isSettled() || Clock::now() >= m_return->due))
        return;
    const auto returning = std::exchange(m_return, {});
    comeBack(*returning->saved, returning->why);
}

void ClipboardLoan::comeBack(const SavedSelection& saved, Pasteboard::Return why) {
    // When this is answered, the news of another owner has arrived too.
    const xcb_timestamp_t time = m_events.serverTime();
    if (why == Pasteboard::Return::afterLoan && !m_server.lends(m_clipboard))
        return;
    SelectionContents contents = saved.contents();
    if (saved.wasEmpty() && why == Pasteboard::Return::afterCopy)
        return;
    if (saved.wasEmpty())
        contents.text = "";
    if (contents.isEmpty())
        logInfo("Clipboard not given back: its owner did not say what it held");
    else
        m_server.offer(m_clipboard, std::move(contents), Stay::lasting, time);
    m_kept.reset();
}

void ClipboardLoan::lendPrimary(const std::string& text) {
    if (!m_server.lends(XCB_ATOM_PRIMARY))
        m_primary = save(XCB_ATOM_PRIMARY, Clock::now() + primaryLimit);
    m_server.offer(XCB_ATOM_PRIMARY, {.text = text, .forms = {}}, Stay::onLoan, m_events.serverTime());
}

void ClipboardLoan::endPrimary() {
    const auto saved = std::exchange(m_primary, {});
    if (!saved)
        return;
    const xcb_timestamp_t time = m_events.serverTime();
    if (!m_server.lends(XCB_ATOM_PRIMARY))
        return; // something has been selected meanwhile
    if (SelectionContents contents = saved->contents(); !contents.isEmpty())
        m_server.offer(XCB_ATOM_PRIMARY, std::move(contents), Stay::lasting, time);
    else
        m_server.clear(XCB_ATOM_PRIMARY, time);
}

} // namespace fenlo
