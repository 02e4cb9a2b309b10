#pragma once

#include "platform/KeyEvents.h"
#include "platform/linux/desktop/keys/KeyboardMap.h"

#include <map>
#include <utility>

namespace fenlo {

/// The keys that the user's fingers hold, and what changes of them mean at the port.
///
/// Threads: one; the sink is called at once.
class HeldKeys {
public:
    using XKey = KeyboardMap::XKey;

    explicit HeldKeys(KeyEvents::Listener sink) : m_sink(std::move(sink)) {}

    /// A key went down. One that is held already repeats, and is not reported.
    void press(XKey key, const KeyboardMap& map);
    void release(XKey key);

    /// Takes a key that is down already for held, without a report: nobody pressed it while we listened.
    void adopt(XKey key, const KeyboardMap& map) { m_held[key] = {map.portCode(key)}; }

    /// The program lifted the key at the server: from now on only its own release tells when the user lets go.
    void lift(XKey key);

    /// Compares with the server's keys. One that it does not hold at two looks in a row has lost its release, and is
    /// released here; at a single look its press or release may still be on the way.
    template <typename IsDown>
    void compare(IsDown&& isDown) {
        for (auto held = m_held.begin(); held != m_held.end();) {
            auto& [key, state] = *held++;
            if (state.lifted || isDown(key))
                state.missing = false;
            else if (!std::exchange(state.missing, true))
                continue;
            else
                release(key);
        }
    }

    void releaseAll();

    bool empty() const { return m_held.empty(); }

private:
    struct State {
        std::uint16_t portCode; // as it was when the key went down; the layout may change meanwhile
        bool lifted = false;
        bool missing = false; // at the last comparison
    };

    std::uint64_t flags() const;

    KeyEvents::Listener m_sink;
    std::map<XKey, State> m_held;
};

} // namespace fenlo
