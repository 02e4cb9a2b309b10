#include "platform/linux/wayland/overlay/PointerImage.h"

#include "base/Environment.h"
#include "platform/linux/wayland/overlay/LayerSurface.h"
#include "platform/linux/wayland/overlay/Outputs.h"

#include <cstdlib>
#include <initializer_list>
#include <wayland-client.h>
#include <wayland-cursor.h>

namespace fenlo {

namespace {

constexpr int usualSize = 24;    // points
constexpr int largestSize = 256; // points

int themeSize() {
    const int size = std::atoi(environment("XCURSOR_SIZE").c_str());
    return size > 0 && size <= largestSize ? size : usualSize;
}

/// By today's names, then by those of the X server.
std::initializer_list<const char*> names(OverlayCursor cursor) {
    static constexpr std::initializer_list<const char*> arrows{"default", "left_ptr"},
        hands{"pointer", "hand2", "hand1"}, texts{"text", "xterm"};
    switch (cursor) {
    case OverlayCursor::hand:
        return hands;
    case OverlayCursor::text:
        return texts;
    case OverlayCursor::arrow:
        break;
    }
    return arrows;
}

} // namespace

PointerImage::~PointerImage() {
    if (m_surface)
        wl_surface_destroy(m_surface);
    if (m_theme)
        wl_cursor_theme_destroy(m_theme);
}

void PointerImage::load(int scale) {
    if (m_theme && m_scale == scale)
        return;
    if (m_theme)
        wl_cursor_theme_destroy(m_theme);
    const std::string name = environment("XCURSOR_THEME");
    m_scale = scale;
    m_theme = wl_cursor_theme_load(name.empty() ? nullptr : name.c_str(), themeSize() * scale, m_globals.shm);
}

void PointerImage::set(wl_pointer* pointer, std::uint32_t serial, OverlayCursor cursor) {
    if (m_surface && serial == m_serial && cursor == m_cursor)
        return;
    load(m_outputs.highestScale());
    if (!m_theme)
        return;
    m_serial = serial;
    m_cursor = cursor;
    for (const char* name : names(cursor)) {
        const wl_cursor* const found = wl_cursor_theme_get_cursor(m_theme, name);
        if (!found || found->image_count == 0)
            continue;
        wl_cursor_image* const image = found->images[0];
        if (!m_surface)
            m_surface = wl_compositor_create_surface(m_globals.compositor);
        const auto points = [&](std::uint32_t pixels) { return static_cast<int>(pixels) / m_scale; };
        wl_pointer_set_cursor(pointer, serial, m_surface, points(image->hotspot_x), points(image->hotspot_y));
        wl_surface_set_buffer_scale(m_surface, m_scale);
        wl_surface_attach(m_surface, wl_cursor_image_get_buffer(image), 0, 0);
        wl_surface_damage_buffer(m_surface, 0, 0, static_cast<int>(image->width), static_cast<int>(image->height));
        wl_surface_commit(m_surface);
        return;
    }
}

} // namespace fenlo
