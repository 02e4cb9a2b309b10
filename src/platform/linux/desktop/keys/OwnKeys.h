#pragma once

#include "base/Guarded.h"
#include "platform/KeyEvents.h"
#include "platform/linux/desktop/keys/KeyboardMap.h"

#include <chrono>
#include <deque>

namespace fenlo {

/// The record of the key events that the program made itself, so that the listener does not take them for the user's.
/// The device they come from cannot tell: other programs post through the same one.
///
/// Threads: any.
class OwnKeys {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// To be called before the event is posted.
    void expect(KeyboardMap::XKey key, KeyDirection direction, Time now);

    /// Whether the event is one of ours; each counts once. An event that never came is forgotten after a while.
    bool consume(KeyboardMap::XKey key, KeyDirection direction, Time now);

private:
    struct Expected {
        KeyboardMap::XKey key;
        KeyDirection direction;
        Time expires;
    };
    Guarded<std::deque<Expected>> m_expected;
};

} // namespace fenlo
