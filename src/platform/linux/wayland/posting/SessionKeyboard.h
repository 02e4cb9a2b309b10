#pragma once

#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/posting/SessionKeymap.h"

#include <optional>
#include <string>

namespace fenlo {

/// Follows the keymap of the seat's keyboard, which the compositor tells every program.
///
/// Threads: keymap() on any; the rest happens on the connection's.
class SessionKeyboard {
public:
    explicit SessionKeyboard(WaylandConnection& connection);
    ~SessionKeyboard();
    SessionKeyboard(const SessionKeyboard&) = delete;
    SessionKeyboard& operator=(const SessionKeyboard&) = delete;

    /// Nothing while the session has no keyboard. Keymaps that we typed with ourselves do not count.
    std::optional<SessionKeymap> keymap();

private:
    void bind();
    void follow(bool hasKeyboard);
    void take(std::uint32_t format, int file, std::uint32_t size);

    WaylandConnection& m_connection;
    wl_seat* m_seat = nullptr;
    wl_keyboard* m_keyboard = nullptr;
    std::string m_text; // of the newest keymap
    std::optional<SessionKeymap> m_keymap;
};

} // namespace fenlo
