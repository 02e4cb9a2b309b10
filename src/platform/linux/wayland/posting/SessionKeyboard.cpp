#include "platform/linux/wayland/posting/SessionKeyboard.h"

#include "base/Descriptor.h"
#include "platform/linux/wayland/posting/TypingKeymap.h"

#include <string_view>
#include <sys/mman.h>

namespace fenlo {

namespace {

constexpr std::uint32_t keyboardSeatVersion = 5;     // whose keyboards can be given back
constexpr std::uint32_t largestKeymap = 4096 * 1024; // bytes; usual ones have about sixty thousand

} // namespace

SessionKeyboard::SessionKeyboard(WaylandConnection& connection) : m_connection(connection) {
    m_connection.call([this] { bind(); });
}

SessionKeyboard::~SessionKeyboard() {
    m_connection.call([this] {
        follow(false);
        if (m_seat)
            wl_seat_destroy(m_seat);
    });
}

void SessionKeyboard::bind() {
    static constexpr wl_seat_listener listener{
        [](void* self, wl_seat*, std::uint32_t capabilities) {
            static_cast<SessionKeyboard*>(self)->follow(capabilities & WL_SEAT_CAPABILITY_KEYBOARD);
        },
        [](void*, wl_seat*, const char*) {},
    };
    m_seat = m_connection.bind<wl_seat>(wl_seat_interface, keyboardSeatVersion);
    if (m_seat)
        wl_seat_add_listener(m_seat, &listener, this);
}

void SessionKeyboard::follow(bool hasKeyboard) {
    static constexpr wl_keyboard_listener listener{
        [](void* self, wl_keyboard*, std::uint32_t format, int file, std::uint32_t size) {
            static_cast<SessionKeyboard*>(self)->take(format, file, size);
        },
        // The rest is for the program in front.
        [](void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {},
        [](void*, wl_keyboard*, std::uint32_t, wl_surface*) {},
        [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
        [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
        [](void*, wl_keyboard*, std::int32_t, std::int32_t) {},
    };
    if (hasKeyboard == (m_keyboard != nullptr))
        return;
    if (hasKeyboard) {
        m_keyboard = wl_seat_get_keyboard(m_seat);
        wl_keyboard_add_listener(m_keyboard, &listener, this);
    } else {
        wl_proxy_get_version(reinterpret_cast<wl_proxy*>(m_keyboard)) >= WL_KEYBOARD_RELEASE_SINCE_VERSION
            ? wl_keyboard_release(m_keyboard)
            : wl_keyboard_destroy(m_keyboard);
        m_keyboard = nullptr;
    }
}

void SessionKeyboard::take(std::uint32_t format, int file, std::uint32_t size) {
    const Descriptor descriptor(file);
    if (format != WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 || size == 0 || size > largestKeymap)
        return;
    void* const memory = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (memory == MAP_FAILED)
        return;
    std::string text(static_cast<const char*>(memory), size);
    ::munmap(memory, size);
    text.resize(text.find('\0') != std::string::npos ? text.find('\0') : text.size());
    if (text == m_text || TypingKeymap::isOne(text))
        return;
    m_text = std::move(text);
    m_keymap.reset();
}

std::optional<SessionKeymap> SessionKeyboard::keymap() {
    std::optional<SessionKeymap> keymap;
    m_connection.call([&] {
        if (!m_keymap)
            m_keymap = SessionKeymap::parse(m_text);
        keymap = m_keymap;
    });
    return keymap;
}

} // namespace fenlo
