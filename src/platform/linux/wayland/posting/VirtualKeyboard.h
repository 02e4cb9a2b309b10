#pragma once

#include "platform/linux/desktop/GlibTimer.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/posting/SessionKeyboard.h"
#include "platform/linux/wayland/posting/TypingKeymap.h"

#include <future>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct zwp_virtual_keyboard_v1;

namespace fenlo {

/// A keyboard of our own beside the user's, by virtual-keyboard-unstable-v1. It has the session's layout while it has
/// the key in question; one that lacks the letter gives way to the American one, and to type text each text gets a
/// layout of its own. There is one for the program's life: programs lose the first keys of a keyboard that they do not
/// know yet.
///
/// What the user holds does not count: the modifiers are the keyboard's own. They are told as such and not as keys that
/// go down, since the compositor's key bindings hear those.
///
/// Threads: one; the requests are made on the connection's.
class VirtualKeyboard {
public:
    /// Nothing when the compositor has no such protocol, or no seat.
    static std::unique_ptr<VirtualKeyboard> open(WaylandConnection& connection, SessionKeyboard& session);
    ~VirtualKeyboard();
    VirtualKeyboard(const VirtualKeyboard&) = delete;
    VirtualKeyboard& operator=(const VirtualKeyboard&) = delete;

    bool isUsable() const { return !m_connection.isLost(); }
    bool canDeliver(std::uint16_t portCode);

    /// Returns when the compositor has handled the press. False when no layout has the key.
    bool press(std::uint16_t portCode, std::uint64_t flags);
    bool release(std::uint16_t portCode);
    /// Types any text without control characters; others are not begun.
    bool type(const std::string& text);

private:
    struct Typing;

    VirtualKeyboard(WaylandConnection& connection, SessionKeyboard& session);

    /// The layout to press the key in, and where it is there.
    std::optional<std::pair<SessionKeymap, SessionKeymap::Key>> find(std::uint16_t portCode);
    /// Runs the requests, and waits until the compositor has handled them.
    bool handled(const std::function<void()>& requests);

    // On the connection's thread.
    void upload(const std::string& keymap);
    void key(std::uint32_t code, bool isDown);
    void tellWhenHandled(std::shared_ptr<std::promise<void>> handled);
    void typeNext(const std::shared_ptr<Typing>& typing);

    WaylandConnection& m_connection;
    SessionKeyboard& m_session;
    const std::optional<SessionKeymap> m_american = SessionKeymap::american();
    zwp_virtual_keyboard_v1* m_keyboard = nullptr;
    std::string m_uploaded;                           // the keymap that it has
    std::map<std::uint16_t, std::uint32_t> m_pressed; // port code to key code
    GlibTimer m_nextStroke;                           // while a text is on its way
};

} // namespace fenlo
