#pragma once

#include <functional>
#include <optional>
#include <string>

namespace fenlo {

/// The desktop's clipboard. Text can be read and set; content of any kind can be kept and given back.
///
/// Threads: main thread. The clipboard is served by the adapter itself, also while the main thread blocks.
class Pasteboard {
public:
    /// What is offered with a text.
    struct Offer {
        /// The text is on loan, for a paste: clipboard managers are asked to keep it out of their history.
        bool transient = false;
        /// Also offers the text as the primary selection, for programs whose paste key takes that one. The selection
        /// from before comes back with the next text or content.
        bool primary = false;
    };

    struct Reading {
        /// Empty when there is no text, or no answer.
        std::optional<std::string> text;
        /// False when the owner did not answer in time: it may have a text all the same.
        bool isAnswered = true;
    };

    /// Why something kept comes back.
    enum class Return {
        afterLoan, // replaces the transient text, by the empty text when the clipboard was empty before; anything else
                   // that has come onto the clipboard stays
        afterCopy, // replaces what another program has put there, unless the clipboard was empty before
    };
    /// Gives back what was kept. Late answers of its owner are waited for, up to three seconds and without blocking.
    /// When the owner gave nothing, the clipboard stays as it is.
    using GiveBack = std::function<void(Return)>;

    virtual ~Pasteboard() = default;

    /// The text on the clipboard. Blocks for `limit` seconds at most, whatever its owner does.
    virtual Reading string(double limit) = 0;
    virtual void clear() = 0;
    virtual void set(const std::string& text, Offer offer) = 0;

    /// Keeps what is on the clipboard in every form that its owner offers, 64 MiB at most. Blocks for `limit` seconds
    /// at most; forms that are on their way by then are still collected. While a transient text is on the clipboard,
    /// what was kept before it counts as the content, so that a second loan gives the same back.
    virtual GiveBack keep(double limit) = 0;
};

} // namespace fenlo
