#include "platform/linux/desktop/keys/ShortcutEdges.h"

#include <utility>

namespace fenlo {

namespace {
constexpr double longestRepeatDelay = 1.5; // seconds; desktops begin to repeat after 0.6 or so
}

ShortcutEdges::Meaning ShortcutEdges::pressed(Deadline now) {
    const auto before = std::exchange(m_lastPress, now);
    if (!before)
        return Meaning::press;
    return now < deadlineAfter(longestRepeatDelay, *before) ? Meaning::repetition : Meaning::pressAfterLostRelease;
}

} // namespace fenlo
