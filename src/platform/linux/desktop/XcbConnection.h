#pragma once

#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <xcb/xcb.h>

namespace fenlo {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

/// Memory that the X protocol library hands out, freed with its owner.
template <typename T>
using XcbReply = std::unique_ptr<T, FreeDeleter>;

/// The event as this type, when it is of this kind.
template <typename T>
const T* eventAs(const xcb_generic_event_t& event, std::uint8_t kind) {
    constexpr std::uint8_t sentByOthers = 0x80;
    return (event.response_type & ~sentByOthers) == kind ? reinterpret_cast<const T*>(&event) : nullptr;
}

/// A connection to the X server for questions about other programs' windows, which may vanish at any moment: a request
/// that fails has no reply, and the process goes on, also when the server is lost.
///
/// Threads: one.
class XcbConnection {
public:
    struct Property {
        xcb_atom_t type = XCB_ATOM_NONE;
        std::string bytes;
        std::uint8_t format = 8; // bits of a unit
    };

    /// Connects to the server that DISPLAY names; nothing when there is none.
    static std::unique_ptr<XcbConnection> open();

    xcb_connection_t* get() const { return m_connection.get(); }
    xcb_window_t root() const { return m_root; }
    bool isLost() const { return xcb_connection_has_error(m_connection.get()) != 0; }
    int descriptor() const { return xcb_get_file_descriptor(m_connection.get()); }

    /// A window that is never shown, for our own properties and events.
    xcb_window_t makeWindow(std::uint32_t events = XCB_EVENT_MASK_NO_EVENT);

    /// The server's number for a name; each name is asked for once.
    xcb_atom_t atom(const std::string& name);

    /// The whole property; nothing when there is none or the window is gone.
    std::optional<Property> property(xcb_window_t window, xcb_atom_t name, bool remove = false);

    /// The window that owns the selection, or none.
    xcb_window_t selectionOwner(xcb_atom_t selection);

    /// A property of 32-bit numbers; empty when it is absent or of another kind.
    std::vector<std::uint32_t> numbers(xcb_window_t window, xcb_atom_t name);

    void setNumbers(xcb_window_t window, xcb_atom_t name, xcb_atom_t type, const std::vector<std::uint32_t>& numbers);
    void setBytes(xcb_window_t window, xcb_atom_t name, xcb_atom_t type, std::string_view bytes,
                  std::uint8_t format = 8);

private:
    using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

    XcbConnection(Connection connection, int screen);

    Connection m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    std::map<std::string, xcb_atom_t> m_atoms;
};

} // namespace fenlo
