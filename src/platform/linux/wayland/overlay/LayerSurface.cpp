#include "platform/linux/wayland/overlay/LayerSurface.h"

#include "platform/linux/wayland/overlay/Outputs.h"

#include "fractional-scale-v1-client-protocol.h"
#include "viewporter-client-protocol.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <algorithm>
#include <cmath>
#include <wayland-client.h>

namespace fenlo {

namespace {

constexpr double fractionalUnits = 120; // of the protocol, to a scale of 1

} // namespace

LayerSurface::LayerSurface(const LayerGlobals& globals, const Outputs& outputs, int distanceFromTop,
                           std::function<void(double)> onScale)
    : m_globals(globals), m_outputs(outputs), m_distanceFromTop(distanceFromTop), m_onScale(std::move(onScale)),
      m_buffers(globals.shm) {
    setScale(outputs.highestScale());
}

LayerSurface::~LayerSurface() {
    close();
}

void LayerSurface::open() {
    m_surface = wl_compositor_create_surface(m_globals.compositor);
    addSurfaceListener();
    if (m_globals.viewporter && m_globals.fractionalScales) {
        m_viewport = wp_viewporter_get_viewport(m_globals.viewporter, m_surface);
        m_fractionalScale = wp_fractional_scale_manager_v1_get_fractional_scale(m_globals.fractionalScales, m_surface);
        addScaleListener();
    }
    m_layer = zwlr_layer_shell_v1_get_layer_surface(m_globals.shell, m_surface, nullptr,
                                                    ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "fenlo");
    addLayerListener();
    zwlr_layer_surface_v1_set_anchor(m_layer, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP);
    zwlr_layer_surface_v1_set_margin(m_layer, m_distanceFromTop, 0, 0, 0);
    zwlr_layer_surface_v1_set_exclusive_zone(m_layer, overEverything);
    m_width = m_frame->width;
    m_height = m_frame->height;
    zwlr_layer_surface_v1_set_size(m_layer, static_cast<std::uint32_t>(m_width), static_cast<std::uint32_t>(m_height));
    applyInput();
    wl_surface_commit(m_surface);
}

void LayerSurface::close() {
    if (m_nextDrawing)
        wl_callback_destroy(m_nextDrawing);
    if (m_fractionalScale)
        wp_fractional_scale_v1_destroy(m_fractionalScale);
    if (m_viewport)
        wp_viewport_destroy(m_viewport);
    if (m_layer)
        zwlr_layer_surface_v1_destroy(m_layer);
    if (m_surface)
        wl_surface_destroy(m_surface);
    m_nextDrawing = nullptr;
    m_fractionalScale = nullptr;
    m_viewport = nullptr;
    m_layer = nullptr;
    m_surface = nullptr;
    m_entered.clear();
    m_isConfigured = m_isDrawn = false;
}

void LayerSurface::addSurfaceListener() {
    // Field by field: newer libraries have more of them.
    static const wl_surface_listener listener = [] {
        wl_surface_listener made{};
        made.enter = [](void* self, wl_surface*, wl_output* output) {
            auto& layer = *static_cast<LayerSurface*>(self);
            layer.m_entered.insert(output);
            layer.followEntered();
        };
        made.leave = [](void* self, wl_surface*, wl_output* output) {
            auto& layer = *static_cast<LayerSurface*>(self);
            layer.m_entered.erase(output);
            layer.followEntered();
        };
        return made;
    }();
    wl_surface_add_listener(m_surface, &listener, this);
}

void LayerSurface::addLayerListener() {
    static constexpr zwlr_layer_surface_v1_listener listener{
        [](void* self, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t, std::uint32_t) {
            static_cast<LayerSurface*>(self)->configured(serial);
        },
        // Its screen is gone. The next picture opens it on another.
        [](void* self, zwlr_layer_surface_v1*) { static_cast<LayerSurface*>(self)->close(); },
    };
    zwlr_layer_surface_v1_add_listener(m_layer, &listener, this);
}

void LayerSurface::addScaleListener() {
    static constexpr wp_fractional_scale_v1_listener listener{
        [](void* self, wp_fractional_scale_v1*, std::uint32_t scale) {
            static_cast<LayerSurface*>(self)->setScale(scale / fractionalUnits);
        }};
    wp_fractional_scale_v1_add_listener(m_fractionalScale, &listener, this);
}

void LayerSurface::configured(std::uint32_t serial) {
    zwlr_layer_surface_v1_ack_configure(m_layer, serial);
    const bool isFirst = !m_isConfigured;
    m_isConfigured = true;
    if (isFirst)
        draw();
    else
        wl_surface_commit(m_surface);
}

void LayerSurface::followEntered() {
    if (m_fractionalScale || m_entered.empty())
        return;
    int highest = 1;
    for (const wl_output* output : m_entered)
        highest = std::max(highest, m_outputs.scaleOf(output));
    setScale(highest);
}

void LayerSurface::followOutputs() {
    followEntered();
    if (!m_surface && m_frame && !m_outputs.isEmpty())
        open();
}

void LayerSurface::setScale(double scale) {
    if (scale == m_scale)
        return;
    m_scale = scale;
    m_onScale(scale);
}

void LayerSurface::setInput(std::vector<OverlayRectangle> region) {
    m_input = std::move(region);
    if (!m_surface)
        return;
    applyInput();
    wl_surface_commit(m_surface);
}

void LayerSurface::applyInput() {
    wl_region* const region = wl_compositor_create_region(m_globals.compositor);
    for (const OverlayRectangle& r : m_input)
        wl_region_add(region, r.x, r.y, r.width, r.height);
    wl_surface_set_input_region(m_surface, region);
    wl_region_destroy(region);
}

void LayerSurface::show(OverlayFrame frame) {
    m_frame.emplace(std::move(frame));
    m_isDrawn = false;
    if (!m_surface)
        followOutputs();
    else
        draw();
}

void LayerSurface::draw() {
    if (!m_isConfigured || m_nextDrawing || m_isDrawn)
        return;
    wl_buffer* const buffer = m_buffers.fill(*m_frame);
    if (!buffer)
        return;
    if (m_frame->width != m_width || m_frame->height != m_height) {
        m_width = m_frame->width;
        m_height = m_frame->height;
        zwlr_layer_surface_v1_set_size(m_layer, static_cast<std::uint32_t>(m_width),
                                       static_cast<std::uint32_t>(m_height));
    }
    if (m_viewport)
        wp_viewport_set_destination(m_viewport, m_width, m_height);
    else
        wl_surface_set_buffer_scale(m_surface, static_cast<int>(std::lround(m_frame->scale)));
    wl_surface_attach(m_surface, buffer, 0, 0);
    wl_surface_damage_buffer(m_surface, 0, 0, m_frame->columns, m_frame->rows);
    awaitNextDrawing();
    wl_surface_commit(m_surface);
    m_isDrawn = true;
}

void LayerSurface::awaitNextDrawing() {
    static constexpr wl_callback_listener listener{[](void* self, wl_callback* callback, std::uint32_t) {
        auto& layer = *static_cast<LayerSurface*>(self);
        wl_callback_destroy(callback);
        layer.m_nextDrawing = nullptr;
        layer.draw();
    }};
    m_nextDrawing = wl_surface_frame(m_surface);
    wl_callback_add_listener(m_nextDrawing, &listener, this);
}

} // namespace fenlo
