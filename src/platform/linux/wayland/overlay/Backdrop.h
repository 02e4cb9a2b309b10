#pragma once

#include "platform/linux/wayland/overlay/ShmBuffers.h"

#include <functional>

struct wl_output;
struct wl_surface;
struct wp_viewport;
struct zwlr_layer_surface_v1;

namespace fenlo {

struct LayerGlobals;

/// A layer that is not seen, over a whole screen and below the overlays: it takes the mouse from what lies there.
///
/// Threads: that of the connection.
class Backdrop {
public:
    /// The globals outlive this.
    Backdrop(const LayerGlobals& globals, wl_output* output);
    ~Backdrop();
    Backdrop(const Backdrop&) = delete;
    Backdrop& operator=(const Backdrop&) = delete;

    wl_surface* surface() const { return m_surface; }

private:
    void close();
    void cover(int width, int height);

    const LayerGlobals& m_globals;
    ShmBuffers m_buffers;
    wl_surface* m_surface = nullptr;
    zwlr_layer_surface_v1* m_layer = nullptr;
    wp_viewport* m_viewport = nullptr;
};

} // namespace fenlo
