#include "platform/linux/desktop/clipboard/ClipboardLoan.h"

#include "base/Log.h"

#include <utility>

namespace fenlo {

namespace {

using Name = Selections::Name;
using Stay = Selections::Stay;

constexpr auto latePatience = std::chrono::seconds(3);
/// The primary selection is saved while the text on the clipboard settles before the paste.
constexpr auto primaryLimit = std::chrono::milliseconds(100);

} // namespace

ClipboardLoan::Saved ClipboardLoan::keep(Clock::time_point deadline) {
    if (const auto returning = std::exchange(m_return, {}))
        m_kept = returning->saved;
    else if (!m_selections.lends(Name::clipboard) || !m_kept)
        m_kept = m_selections.save(Name::clipboard, deadline);
    return m_kept;
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

void ClipboardLoan::comeBack(const Selections::Saved& saved, Pasteboard::Return why) {
    // When this is answered, the news of another owner has arrived too.
    const Selections::Moment now = m_selections.now();
    if (why == Pasteboard::Return::afterLoan && !m_selections.lends(Name::clipboard))
        return;
    if (saved.wasEmpty() && why == Pasteboard::Return::afterCopy)
        return;
    if (saved.wasEmpty())
        m_selections.offer(Name::clipboard, "", Stay::lasting, now);
    else if (!m_selections.offerAgain(Name::clipboard, saved, now))
        logInfo("Clipboard not given back: its owner did not say what it held");
    m_kept.reset();
}

void ClipboardLoan::lendPrimary(const std::string& text) {
    if (!m_selections.lends(Name::primary))
        m_primary = m_selections.save(Name::primary, Clock::now() + primaryLimit);
    m_selections.offer(Name::primary, text, Stay::onLoan, m_selections.now());
}

void ClipboardLoan::endPrimary() {
    const auto saved = std::exchange(m_primary, {});
    if (!saved)
        return;
    const Selections::Moment now = m_selections.now();
    if (!m_selections.lends(Name::primary))
        return; // something has been selected meanwhile
    if (!m_selections.offerAgain(Name::primary, *saved, now))
        m_selections.clear(Name::primary, now);
}

} // namespace fenlo
