#pragma once

#include "base/Deadline.h"

#include <optional>

namespace fenlo {

/// Tells the presses of a desktop's shortcut from their repetitions. Some desktops say "pressed" again and again while
/// the keys are held, and some lose a release.
class ShortcutEdges {
public:
    enum class Meaning {
        press,
        repetition,
        pressAfterLostRelease, // the release of the one before never came
    };

    Meaning pressed(Deadline now);
    void released() { m_lastPress.reset(); }

private:
    std::optional<Deadline> m_lastPress; // or repetition; nothing while released
};

} // namespace fenlo
