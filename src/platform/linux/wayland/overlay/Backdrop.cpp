#include "platform/linux/wayland/overlay/Backdrop.h"

#include "platform/linux/wayland/overlay/LayerSurface.h"

#include "viewporter-client-protocol.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <cstdint>
#include <wayland-client.h>

namespace fenlo {

namespace {

constexpr std::uint32_t allSides = ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                                   ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT;

} // namespace

Backdrop::Backdrop(const LayerGlobals& globals, wl_output* output) : m_globals(globals), m_buffers(globals.shm) {
    static constexpr zwlr_layer_surface_v1_listener listener{
        [](void* self, zwlr_layer_surface_v1* layer, std::uint32_t serial, std::uint32_t width, std::uint32_t height) {
            zwlr_layer_surface_v1_ack_configure(layer, serial);
            static_cast<Backdrop*>(self)->cover(static_cast<int>(width), static_cast<int>(height));
        },
        [](void* self, zwlr_layer_surface_v1*) { static_cast<Backdrop*>(self)->close(); },
    };
    m_surface = wl_compositor_create_surface(m_globals.compositor);
    if (m_globals.viewporter)
        m_viewport = wp_viewporter_get_viewport(m_globals.viewporter, m_surface);
    m_layer = zwlr_layer_shell_v1_get_layer_surface(m_globals.shell, m_surface, output, ZWLR_LAYER_SHELL_V1_LAYER_TOP,
                                                    "fenlo-backdrop");
    zwlr_layer_surface_v1_add_listener(m_layer, &listener, this);
    zwlr_layer_surface_v1_set_anchor(m_layer, allSides);
    zwlr_layer_surface_v1_set_exclusive_zone(m_layer, overEverything);
    wl_surface_commit(m_surface);
}

Backdrop::~Backdrop() {
    close();
}

void Backdrop::close() {
    if (!m_surface)
        return;
    if (m_viewport)
        wp_viewport_destroy(m_viewport);
    zwlr_layer_surface_v1_destroy(m_layer);
    wl_surface_destroy(m_surface);
    m_surface = nullptr;
}

void Backdrop::cover(int width, int height) {
    if (width <= 0 || height <= 0)
        return;
    const int columns = m_viewport ? 1 : width, rows = m_viewport ? 1 : height;
    const std::size_t pixels = static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    wl_buffer* const nothing = m_buffers.fill({.width = width,
                                               .height = height,
                                               .scale = 1,
                                               .columns = columns,
                                               .rows = rows,
                                               .pixels = std::vector<std::uint32_t>(pixels)});
    if (!nothing)
        return;
    if (m_viewport)
        wp_viewport_set_destination(m_viewport, width, height);
    wl_surface_attach(m_surface, nothing, 0, 0);
    wl_surface_damage_buffer(m_surface, 0, 0, columns, rows);
    wl_surface_commit(m_surface);
}

} // namespace fenlo
