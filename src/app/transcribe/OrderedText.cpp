#include "app/transcribe/OrderedText.h"

#include <utility>

namespace fenlo {

OrderedText::OrderedText(std::function<void(const std::string&)> show) : m_show(std::move(show)) {}

void OrderedText::add(std::size_t piece, const std::string& lines) {
    const std::lock_guard lock(m_mutex);
    m_pieces[piece].waiting += lines;
    showWhatIsDue();
}

void OrderedText::finish(std::size_t piece) {
    const std::lock_guard lock(m_mutex);
    m_pieces[piece].isFinished = true;
    showWhatIsDue();
}

/// The lock is held while lines are shown, as that is what keeps them in order.
void OrderedText::showWhatIsDue() {
    for (;; ++m_current) {
        Piece& piece = m_pieces[m_current];
        if (const std::string lines = std::exchange(piece.waiting, {}); !lines.empty())
            m_show(lines);
        if (!piece.isFinished)
            return;
    }
}

} // namespace fenlo
