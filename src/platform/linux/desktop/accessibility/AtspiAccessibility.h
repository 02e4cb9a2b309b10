#pragma once

#include "platform/Accessibility.h"

#include <memory>

namespace fenlo {

class AtspiThread;
struct ActiveProgram;
class KeyEvents;

/// The accessibility bus (AT-SPI), on a thread of its own, which follows the focus by its events. Of a long text only
/// the end is read; a password field tells its role and nothing else.
///
/// Threads: as Accessibility; isAvailable() on any.
/// Errors:  without an accessibility bus there is never an element; the reason is logged once.
class AtspiAccessibility final : public Accessibility {
public:
    /// Other systems ask the user for a permission; here, posting keys has to be possible.
    explicit AtspiAccessibility(const KeyEvents& keys);
    ~AtspiAccessibility() override;

    /// Whether the bus was found, which takes a moment after the start.
    bool isAvailable() const;

    bool trusted() const override;
    void request() override;
    std::optional<FocusedElement> focusedElement(double limit) override;

    /// The program in front, for desktops that tell it in no other way. Takes `limit` seconds at most.
    std::optional<ActiveProgram> activeProgram(double limit);

private:
    const KeyEvents& m_keys;
    std::unique_ptr<AtspiThread> m_thread;
};

} // namespace fenlo
