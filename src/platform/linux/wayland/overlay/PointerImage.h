#pragma once

#include "platform/OverlaySurface.h"

#include <cstdint>

struct wl_cursor_theme;
struct wl_pointer;
struct wl_surface;

namespace fenlo {

struct LayerGlobals;
class Outputs;

/// What the mouse pointer looks like over this program's surfaces, from the session's cursor theme. Without one it
/// would keep the look that the program beneath gave it.
///
/// Threads: that of the connection. Globals and outputs outlive this.
class PointerImage {
public:
    PointerImage(const LayerGlobals& globals, const Outputs& outputs) : m_globals(globals), m_outputs(outputs) {}
    ~PointerImage();
    PointerImage(const PointerImage&) = delete;
    PointerImage& operator=(const PointerImage&) = delete;

    /// `serial` is that of the pointer's entering.
    void set(wl_pointer* pointer, std::uint32_t serial, OverlayCursor cursor);

private:
    void load(int scale);

    const LayerGlobals& m_globals;
    const Outputs& m_outputs;
    wl_cursor_theme* m_theme = nullptr;
    int m_scale = 0; // of the theme
    wl_surface* m_surface = nullptr;
    std::uint32_t m_serial = 0; // for which it was set last, and to what
    OverlayCursor m_cursor = OverlayCursor::arrow;
};

} // namespace fenlo
