#pragma once

#include "base/Guarded.h"
#include "platform/KeyEvents.h"
#include "platform/linux/desktop/keys/KeyboardMap.h"

#include <chrono>
#include <deque>

namespace fenlo {

/// A record of the key events that the program posted itself, so that the listener can tell them from the user's. Their
/// device does not tell: other programs post through the same one.
///
/// Threads: any.
class OwnKeys {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Call before the event is posted.
    void expect(KeyboardMap::XKey key, KeyDirection direction, Time now);

    /// Whether the event is one of ours; each counts once. An expected event that does not come is forgotten.
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
