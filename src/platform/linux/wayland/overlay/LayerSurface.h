#pragma once

#include "platform/OverlaySurface.h"
#include "platform/linux/wayland/overlay/ShmBuffers.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <vector>

struct wl_callback;
struct wl_compositor;
struct wl_output;
struct wl_shm;
struct wl_surface;
struct wl_surface_listener;
struct wp_fractional_scale_manager_v1;
struct wp_fractional_scale_v1;
struct wp_viewport;
struct wp_viewporter;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace fenlo {

class Outputs;

/// The zone of a surface that lies over panels and takes no room from windows.
inline constexpr int overEverything = -1;

/// What the compositor has for overlays. The last two may be null: then only whole scales are exact.
struct LayerGlobals {
    wl_compositor* compositor = nullptr;
    wl_shm* shm = nullptr;
    zwlr_layer_shell_v1* shell = nullptr;
    wp_viewporter* viewporter = nullptr;
    wp_fractional_scale_manager_v1* fractionalScales = nullptr;
};

/// A surface in the overlay layer, without keyboard. The compositor chooses the screen: the focused one. Where that
/// screen goes away the surface comes back on another.
///
/// Threads: that of the connection.
class LayerSurface {
public:
    /// `onScale` is called with each new scale. Globals and outputs outlive this.
    LayerSurface(const LayerGlobals& globals, const Outputs& outputs, int distanceFromTop,
                 std::function<void(double)> onScale);
    ~LayerSurface();
    LayerSurface(const LayerSurface&) = delete;
    LayerSurface& operator=(const LayerSurface&) = delete;

    wl_surface* surface() const { return m_surface; }
    void show(OverlayFrame frame);
    void setInput(std::vector<OverlayRectangle> region);
    /// A screen has come or changed.
    void followOutputs();

private:
    void open();
    void close();
    void addSurfaceListener();
    void addLayerListener();
    void addScaleListener();
    void configured(std::uint32_t serial);
    void setScale(double scale);
    void followEntered();
    void applyInput();
    void draw();
    void awaitNextDrawing();

    const LayerGlobals& m_globals;
    const Outputs& m_outputs;
    const int m_distanceFromTop;
    const std::function<void(double)> m_onScale;
    ShmBuffers m_buffers;
    wl_surface* m_surface = nullptr;
    zwlr_layer_surface_v1* m_layer = nullptr;
    wp_viewport* m_viewport = nullptr;
    wp_fractional_scale_v1* m_fractionalScale = nullptr;
    wl_callback* m_nextDrawing = nullptr; // the compositor has not drawn the last picture yet
    std::set<wl_output*> m_entered;
    std::vector<OverlayRectangle> m_input;
    std::optional<OverlayFrame> m_frame; // the newest
    bool m_isConfigured = false;
    bool m_isDrawn = false;        // m_frame was given to the compositor
    int m_width = 0, m_height = 0; // that were asked for
    double m_scale = 0;            // 0 before the first is known
};

} // namespace fenlo
