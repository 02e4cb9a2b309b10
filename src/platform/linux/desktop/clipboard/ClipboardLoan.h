#pragma once

#include "platform/Pasteboard.h"
#include "platform/linux/desktop/clipboard/Selections.h"

#include <memory>
#include <optional>

namespace fenlo {

/// Keeps what the selections held before a text of ours took their place, and gives it back.
///
/// Threads: one.
class ClipboardLoan {
public:
    using Clock = Selections::Clock;
    using Saved = std::shared_ptr<const Selections::Saved>;

    explicit ClipboardLoan(Selections& selections) : m_selections(selections) {}

    Saved keep(Clock::time_point deadline);
    /// Asks for the return; settle() carries it out once the owner has told everything.
    void giveBack(Saved saved, Pasteboard::Return why);
    /// The user has put something else onto the clipboard.
    void forgetReturn() { m_return.reset(); }

    /// Gives back what is complete. With `isLast` it does not wait for late answers.
    void settle(bool isLast = false);
    /// When to settle next.
    std::optional<Clock::time_point> due() const;

    /// The text is offered as primary selection too, until endPrimary().
    void lendPrimary(const std::string& text);
    void endPrimary();

private:
    struct Returning {
        Saved saved;
        Pasteboard::Return why;
        Clock::time_point due;
    };

    void comeBack(const Selections::Saved& saved, Pasteboard::Return why);

    Selections& m_selections;
    Saved m_kept;    // what the text on loan stands for
    Saved m_primary; // the same of the primary selection
    std::optional<Returning> m_return;
};

} // namespace fenlo
