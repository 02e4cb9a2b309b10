#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace fenlo {

/// Shows the lines of several pieces of work in the order of the pieces, although they go on side by side: those of the
/// first that is not finished at once, those of the others when their turn comes.
///
/// Threads: any; one line is shown at a time.
/// Errors:  what `show` throws.
class OrderedText {
public:
    explicit OrderedText(std::function<void(const std::string& lines)> show);

    void add(std::size_t piece, const std::string& lines);
    /// The piece has no more lines.
    void finish(std::size_t piece);

private:
    struct Piece {
        std::string waiting;
        bool isFinished = false;
    };

    void showWhatIsDue();

    const std::function<void(const std::string&)> m_show;
    std::mutex m_mutex;
    std::map<std::size_t, Piece> m_pieces;
    std::size_t m_current = 0; // the piece whose lines are shown at once
};

} // namespace fenlo
