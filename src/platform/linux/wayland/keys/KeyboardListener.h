#pragma once

#include "platform/KeyEvents.h"
#include "platform/linux/desktop/keys/HeldKeys.h"
#include "platform/linux/desktop/session/SessionActivity.h"
#include "platform/linux/wayland/keys/KeyMeanings.h"
#include "platform/linux/wayland/keys/Keyboards.h"

#include <condition_variable>
#include <memory>
#include <mutex>

namespace fenlo {

/// Hears the keys of the whole session from the machine's keyboards, as far as the user may read them, while the
/// user's session is the one in front.
///
/// Threads: made, used and ended by the main thread; the sinks are called on the listener's own.
class KeyboardListener {
public:
    KeyboardListener(Keyboards::Options keyboards, KeyEvents::Listener sinks);

    /// Whether a keyboard could be read when the program started, or can be now.
    bool hears() const { return m_couldHear || m_keyboards.hearAny(); }
    bool haveModifier(std::uint16_t portCode) const { return m_keyboards.haveModifier(portCode); }

    /// From now on letters are those of this layout.
    void setLayout(const SessionKeymap& layout);

    /// Blocks until no modifier is held, at most until then; false when one still is.
    bool waitForModifiers(Deadline until);

private:
    void handle(std::uint16_t code, bool isDown);
    void tellModifiers();

    Guarded<std::shared_ptr<const KeyMeanings>> m_meanings{std::make_shared<const KeyMeanings>()};
    HeldKeys m_held; // the keyboards' thread's
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_holdsModifier = false;
    Keyboards m_keyboards;
    const bool m_couldHear;
    const SessionActivity m_activity; // last: it steers the keyboards
};

} // namespace fenlo
