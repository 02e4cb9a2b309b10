#pragma once

#include "base/Lifetime.h"
#include "platform/OverlaySurface.h"

#include <memory>

namespace fenlo {

class MainQueue;
class WaylandConnection;

/// Overlays by wlr-layer-shell, which compositors outside GNOME have.
///
/// Threads: as OverlaySurfaces. Surfaces live on the connection's thread, to which pictures are handed over; a newer
///          picture replaces one that the compositor has not asked for.
/// Errors:  once the compositor is gone nothing is shown.
class LayerSurfaces final : public OverlaySurfaces {
public:
    /// Nothing when the compositor has no such layers. Connection and queue outlive this and all overlays, and this
    /// outlives the overlays and handles.
    static std::unique_ptr<LayerSurfaces> start(WaylandConnection& connection, MainQueue& mainQueue);
    ~LayerSurfaces() override;

    std::unique_ptr<OverlaySurface> make(double distanceFromTop, std::function<void()> onScale) override;
    /// Screens that come later are not covered.
    std::shared_ptr<void> catchMouse(std::function<void()> onMouseDown) override;

private:
    class Overlay;
    struct Shared;

    LayerSurfaces(WaylandConnection& connection, MainQueue& mainQueue);
    /// The task, on the main thread and as long as the lifetime lasts.
    std::function<void()> onMain(const Lifetime& lifetime, std::function<void()> task);

    WaylandConnection& m_connection;
    MainQueue& m_mainQueue;
    std::unique_ptr<Shared> m_shared; // on the connection's thread
};

} // namespace fenlo
