#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <linux/input.h>
#include <span>
#include <vector>

namespace fenlo {

/// A bit for each key of the kernel's, by its code.
using KeyBits = std::bitset<KEY_CNT>;

/// What an input device of the kernel's says, as changes of its keys. (https://docs.kernel.org/input/event-codes.html)
///
/// Threads: one.
/// Errors:  bytes of any content are taken; what is no key's change counts for nothing.
/// Units:   keys are the kernel's codes, which are places on the keyboard (KEY_RIGHTCTRL is 97 in every layout).
class KeyStream {
public:
    struct Sinks {
        std::function<void(std::uint16_t code, bool isDown)> onChange;
        /// The keys that the device holds now; asked when it says that events were lost.
        std::function<KeyBits()> heldNow;
    };

    explicit KeyStream(Sinks sinks) : m_sinks(std::move(sinks)) {}

    /// Counts these as held, without a change.
    void adopt(const KeyBits& held) { m_held = held; }
    const KeyBits& held() const { return m_held; }

    /// The next bytes, which may end within an event.
    void take(std::span<const std::byte> bytes);

    /// The device is gone: what it held is released.
    void releaseAll() { become({}); }

private:
    void handle(const input_event& event);
    void become(const KeyBits& held);
    void change(std::uint16_t code, bool isDown);

    const Sinks m_sinks;
    std::vector<std::byte> m_rest; // of an event that has begun
    KeyBits m_held;
    bool m_hasLost = false; // events; what comes until the next report is incomplete
};

} // namespace fenlo
