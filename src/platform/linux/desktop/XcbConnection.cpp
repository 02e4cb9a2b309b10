#include "platform/linux/desktop/XcbConnection.h"

#include <cstring>
#include <fcntl.h>

namespace fenlo {

std::unique_ptr<XcbConnection> XcbConnection::open() {
    int screen = 0;
    Connection connection(xcb_connect(nullptr, &screen), &xcb_disconnect);
    if (xcb_connection_has_error(connection.get()))
        return nullptr;
    return std::unique_ptr<XcbConnection>(new XcbConnection(std::move(connection), screen));
}

XcbConnection::XcbConnection(Connection connection, int screen) : m_connection(std::move(connection)) {
    ::fcntl(descriptor(), F_SETFD, FD_CLOEXEC);
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(get()));
    for (; screen > 0 && screens.rem > 1; --screen)
        xcb_screen_next(&screens);
    m_root = screens.data->root;
}

xcb_window_t XcbConnection::makeWindow(std::uint32_t events) {
    const xcb_window_t window = xcb_generate_id(get());
    xcb_create_window(get(), XCB_COPY_FROM_PARENT, window, root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    return window;
}

xcb_atom_t XcbConnection::atom(const std::string& name) {
    if (const auto known = m_atoms.find(name); known != m_atoms.end())
        return known->second;
    const auto cookie = xcb_intern_atom(get(), false, static_cast<std::uint16_t>(name.size()), name.c_str());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(get(), cookie, nullptr));
    return m_atoms[name] = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::optional<XcbConnection::Property> XcbConnection::property(xcb_window_t window, xcb_atom_t name, bool remove) {
    constexpr std::uint32_t everything = 0x1FFFFFFF; // in units of four bytes
    const auto cookie = xcb_get_property(get(), remove, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, everything);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(get(), cookie, nullptr));
    if (!reply || reply->type == XCB_ATOM_NONE)
        return std::nullopt;
    const auto* const bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
    return Property{reply->type,
                    std::string(bytes, static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))),
                    reply->format};
}

xcb_window_t XcbConnection::selectionOwner(xcb_atom_t selection) {
    const auto cookie = xcb_get_selection_owner(get(), selection);
    const XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(get(), cookie, nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

std::vector<std::uint32_t> XcbConnection::numbers(xcb_window_t window, xcb_atom_t name) {
    const auto found = property(window, name);
    std::vector<std::uint32_t> numbers(found ? found->bytes.size() / sizeof(std::uint32_t) : 0);
    if (!numbers.empty())
        std::memcpy(numbers.data(), found->bytes.data(), numbers.size() * sizeof(std::uint32_t));
    return numbers;
}

void XcbConnection::setNumbers(xcb_window_t window, xcb_atom_t name, xcb_atom_t type,
                               const std::vector<std::uint32_t>& numbers) {
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, name, type, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

void XcbConnection::setBytes(xcb_window_t window, xcb_atom_t name, xcb_atom_t type, std::string_view bytes,
                             std::uint8_t format) {
    const auto units = static_cast<std::uint32_t>(bytes.size() * 8 / format);
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, name, type, format, units, bytes.data());
}

} // namespace fenlo
