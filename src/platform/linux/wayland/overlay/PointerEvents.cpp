#include "platform/linux/wayland/overlay/PointerEvents.h"

#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/overlay/PointerImage.h"

#include <linux/input-event-codes.h>

namespace fenlo {

namespace {

constexpr std::uint32_t pointerSeatVersion = 5; // from here on seat and pointer can be given back

} // namespace

PointerEvents::PointerEvents(WaylandConnection& connection, PointerImage& image, Sink sink)
    : m_image(image), m_sink(std::move(sink)) {
    static constexpr wl_seat_listener listener{
        [](void* self, wl_seat*, std::uint32_t capabilities) {
            static_cast<PointerEvents*>(self)->setHasPointer((capabilities & WL_SEAT_CAPABILITY_POINTER) != 0);
        },
        [](void*, wl_seat*, const char*) {},
    };
    if (connection.version(wl_seat_interface.name) < pointerSeatVersion)
        return;
    m_seat = connection.bind<wl_seat>(wl_seat_interface, pointerSeatVersion);
    wl_seat_add_listener(m_seat, &listener, this);
}

PointerEvents::~PointerEvents() {
    setHasPointer(false);
    if (m_seat)
        wl_seat_release(m_seat);
}

void PointerEvents::forget(const wl_surface* surface) {
    if (m_under == surface)
        m_under = nullptr;
}

void PointerEvents::setCursor(const wl_surface* surface, OverlayCursor cursor) {
    if (m_under == surface && m_pointer)
        m_image.set(m_pointer, m_entered, cursor);
}

void PointerEvents::enter(std::uint32_t serial, wl_surface* surface) {
    m_under = surface;
    m_entered = serial;
}

void PointerEvents::tell(OverlayPointer::Kind kind, bool isPrimary, double scroll) const {
    if (m_under)
        m_sink(m_under, {kind, m_x, m_y, isPrimary, scroll});
}

/// Field by field: newer libraries have more of them.
const wl_pointer_listener& PointerEvents::pointerListener() {
    using Kind = OverlayPointer::Kind;
    static const wl_pointer_listener listener = [] {
        wl_pointer_listener made{};
        made.enter = [](void* self, wl_pointer*, std::uint32_t serial, wl_surface* surface, wl_fixed_t x,
                        wl_fixed_t y) {
            auto& events = *static_cast<PointerEvents*>(self);
            events.m_x = wl_fixed_to_double(x);
            events.m_y = wl_fixed_to_double(y);
            events.enter(serial, surface);
            events.tell(Kind::move);
        };
        made.leave = [](void* self, wl_pointer*, std::uint32_t, wl_surface*) {
            auto& events = *static_cast<PointerEvents*>(self);
            events.tell(Kind::leave);
            events.m_under = nullptr;
        };
        made.motion = [](void* self, wl_pointer*, std::uint32_t, wl_fixed_t x, wl_fixed_t y) {
            auto& events = *static_cast<PointerEvents*>(self);
            events.m_x = wl_fixed_to_double(x);
            events.m_y = wl_fixed_to_double(y);
            events.tell(Kind::move);
        };
        made.button = [](void* self, wl_pointer*, std::uint32_t, std::uint32_t, std::uint32_t button,
                         std::uint32_t state) {
            static_cast<PointerEvents*>(self)->tell(state == WL_POINTER_BUTTON_STATE_PRESSED ? Kind::down : Kind::up,
                                                    button == BTN_LEFT);
        };
        made.axis = [](void* self, wl_pointer*, std::uint32_t, std::uint32_t axis, wl_fixed_t value) {
            if (axis == WL_POINTER_AXIS_VERTICAL_SCROLL)
                static_cast<PointerEvents*>(self)->tell(Kind::scroll, true, wl_fixed_to_double(value));
        };
        made.frame = [](void*, wl_pointer*) {};
        made.axis_source = [](void*, wl_pointer*, std::uint32_t) {};
        made.axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {};
        made.axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {};
        return made;
    }();
    return listener;
}

void PointerEvents::setHasPointer(bool hasPointer) {
    if (hasPointer == (m_pointer != nullptr))
        return;
    m_under = nullptr;
    if (hasPointer) {
        m_pointer = wl_seat_get_pointer(m_seat);
        wl_pointer_add_listener(m_pointer, &pointerListener(), this);
    } else {
        wl_pointer_release(m_pointer);
        m_pointer = nullptr;
    }
}

} // namespace fenlo
