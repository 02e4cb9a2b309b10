#pragma once

#include "platform/OverlaySurface.h"

#include <cstdint>
#include <functional>

struct wl_pointer;
struct wl_pointer_listener;
struct wl_seat;
struct wl_surface;

namespace fenlo {

class PointerImage;
class WaylandConnection;

/// What the mouse does on this program's surfaces: the compositor tells of no others.
///
/// Threads: that of the connection.
class PointerEvents {
public:
    using Sink = std::function<void(wl_surface* surface, const OverlayPointer& event)>;

    /// The image, which outlives this, is given to the pointer wherever it enters a surface.
    PointerEvents(WaylandConnection& connection, PointerImage& image, Sink sink);
    ~PointerEvents();
    PointerEvents(const PointerEvents&) = delete;
    PointerEvents& operator=(const PointerEvents&) = delete;

    /// The surface is about to be destroyed.
    void forget(const wl_surface* surface);
    /// What the pointer looks like over this surface, as long as it is there.
    void setCursor(const wl_surface* surface, OverlayCursor cursor);

private:
    void setHasPointer(bool hasPointer);
    void enter(std::uint32_t serial, wl_surface* surface);
    void tell(OverlayPointer::Kind kind, bool isPrimary = true, double scroll = 0) const;
    static const wl_pointer_listener& pointerListener();

    PointerImage& m_image;
    const Sink m_sink;
    wl_seat* m_seat = nullptr;
    wl_pointer* m_pointer = nullptr;
    wl_surface* m_under = nullptr; // the pointer
    std::uint32_t m_entered = 0;   // the serial of its entering
    double m_x = 0, m_y = 0;       // points, on that surface
};

} // namespace fenlo
