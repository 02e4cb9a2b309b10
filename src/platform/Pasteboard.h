#pragma once

#include <functional>
#include <optional>
#include <string>

namespace fenlo {

/// The desktop's clipboard. Its text can be read and set; whatever else lies on it can be kept and given back.
///
/// Threads: main thread. The clipboard is served by the adapter itself, also while the main thread blocks.
class Pasteboard {
public:
    /// What is offered with a text.
    struct Offer {
        /// The text is on loan, for a paste: clipboard managers are asked to keep it out of their history.
        bool transient = false;
        /// Also offers the text as the primary selection, for programs whose paste key takes that one. What was
        /// selected before comes back with the next text or content.
        bool primary = false;
    };

    struct Reading {
        /// Nothing when there is no text, or no answer.
        std::optional<std::string> text;
        /// False when the owner did not answer in time: it may well have a text.
        bool isAnswered = true;
    };

    /// Why something kept comes back.
    enum class Return {
        afterLoan, // in place of the transient text; a clipboard that holds something else by now is left alone, and
                   // one that held nothing gets the empty text
        afterCopy, // in place of whatever another program has put there; that stays when there was nothing before
    };
    /// Gives back what was kept. An owner that answered late is waited for, up to three seconds without blocking; of
    /// one that gave nothing nothing comes back, and the clipboard stays as it is.
    using GiveBack = std::function<void(Return)>;

    virtual ~Pasteboard() = default;

    /// The text on the clipboard. Blocks for `limit` seconds at most, whatever its owner does.
    virtual Reading string(double limit) = 0;
    virtual void clear() = 0;
    virtual void set(const std::string& text, Offer offer) = 0;

    /// Keeps what is on the clipboard in every form that its owner offers, 64 MiB at most, before something else takes
    /// its place. Blocks for `limit` seconds at most; forms that are on their way by then are still collected. A
    /// transient text stands for what was kept before it, so that a second loan gives the same back.
    virtual GiveBack keep(double limit) = 0;
};

} // namespace fenlo
