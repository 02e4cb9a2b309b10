#pragma once

#include "platform/KeyEvents.h"
#include "platform/linux/desktop/keys/PortKeys.h"

#include <map>
#include <utility>

namespace fenlo {

/// The keys that the user holds down; reports changes of modifiers in the port's terms.
///
/// Threads: one; the sink is called at once.
class HeldKeys {
public:
    using Key = std::uint32_t; // the windowing system's number, or the kernel's

    explicit HeldKeys(KeyEvents::Listener sink) : m_sink(std::move(sink)) {}

    /// A key went down. When it is held already, this is a repeat and not reported.
    void press(Key key, KeyMeaning meaning);
    void release(Key key);

    /// Counts a key that was down before we listened as held, without a report.
    void adopt(Key key, KeyMeaning meaning) { m_held[key] = {meaning.portCode}; }

    /// The program lifted the key at the server: from now on only a release event tells that the user let go.
    void lift(Key key);

    /// Compares with the server's keys. A held key that the server reports as up twice in a row has lost its release
    /// event and is released here. Once may be chance: its press or release may still be on the way.
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
    /// The masks of the modifiers that are held.
    std::uint64_t flags() const;

private:
    struct State {
        std::uint16_t portCode; // as it was when the key went down; the layout may change meanwhile
        bool lifted = false;
        bool missing = false; // at the last comparison
    };

    KeyEvents::Listener m_sink;
    std::map<Key, State> m_held;
};

} // namespace fenlo
