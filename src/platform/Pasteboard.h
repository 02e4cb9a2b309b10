#pragma once

#include <optional>
#include <string>

namespace fenlo {

/// The desktop's clipboard, plain text only.
///
/// Threads: main thread. The clipboard is served by the adapter itself, also while the main thread blocks.
/// Errors:  a clipboard whose owner does not answer in time reads as absent.
class Pasteboard {
public:
    /// What is offered with a text.
    struct Offer {
        /// Asks clipboard managers to keep the text out of their history.
        bool transient = false;
        /// Also offers the text as the primary selection, for programs whose paste key takes that one.
        bool primary = false;
    };

    virtual ~Pasteboard() = default;

    /// The text on the clipboard, or nothing when there is none. Gives up after `limit` seconds without progress.
    virtual std::optional<std::string> string(double limit) = 0;
    virtual void clear() = 0;
    virtual void set(const std::string& text, Offer offer) = 0;
};

} // namespace fenlo
