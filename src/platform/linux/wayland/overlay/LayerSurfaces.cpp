#include "platform/linux/wayland/overlay/LayerSurfaces.h"

#include "base/MainQueue.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/overlay/Backdrop.h"
#include "platform/linux/wayland/overlay/LayerSurface.h"
#include "platform/linux/wayland/overlay/Outputs.h"
#include "platform/linux/wayland/overlay/PointerEvents.h"
#include "platform/linux/wayland/overlay/PointerImage.h"

#include "fractional-scale-v1-client-protocol.h"
#include "viewporter-client-protocol.h"
#include "wlr-layer-shell-unstable-v1-client-protocol.h"

#include <atomic>
#include <cmath>
#include <list>
#include <optional>

namespace fenlo {

namespace {

constexpr std::uint32_t compositorVersion = 4; // damage in pixels
constexpr std::uint32_t layerVersion = 3;      // can be given back

template <typename T>
void destroyIf(T* object, void (*destroy)(T*)) {
    if (object)
        destroy(object);
}

} // namespace

/// What all overlays stand on. What the mouse does is told to the overlay whose surface is under it.
struct LayerSurfaces::Shared {
    struct Entry {
        Entry(const LayerGlobals& globals, const Outputs& outputs, int distanceFromTop,
              std::function<void(double)> onScale)
            : surface(globals, outputs, distanceFromTop, std::move(onScale)) {}

        LayerSurface surface;
        std::function<void(const OverlayPointer&)> onPointer;
        OverlayCursor cursor = OverlayCursor::arrow;
    };

    /// What takes the mouse everywhere else.
    struct Catch {
        std::list<Backdrop> backdrops;
        std::function<void()> onMouseDown;
    };

    explicit Shared(WaylandConnection& connection)
        : globals{connection.bind<wl_compositor>(wl_compositor_interface, compositorVersion),
                  connection.bind<wl_shm>(wl_shm_interface, 1),
                  connection.bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, layerVersion),
                  connection.bind<wp_viewporter>(wp_viewporter_interface, 1),
                  connection.bind<wp_fractional_scale_manager_v1>(wp_fractional_scale_manager_v1_interface, 1)},
          outputs(connection, [this] { followOutputs(); }), image(globals, outputs),
          pointer(connection, image, [this](auto* surface, const auto& event) { pointed(surface, event); }) {}

    ~Shared() {
        catches.clear();
        entries.clear();
        destroyIf(globals.fractionalScales, &wp_fractional_scale_manager_v1_destroy);
        destroyIf(globals.viewporter, &wp_viewporter_destroy);
        if (globals.shell &&
            zwlr_layer_shell_v1_get_version(globals.shell) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
            zwlr_layer_shell_v1_destroy(globals.shell);
        destroyIf(globals.shm, &wl_shm_destroy);
        destroyIf(globals.compositor, &wl_compositor_destroy);
    }

    void followOutputs() {
        for (Entry& entry : entries)
            entry.surface.followOutputs();
    }
    void pointed(const wl_surface* surface, const OverlayPointer& event) {
        for (const Entry& entry : entries)
            if (entry.surface.surface() == surface) {
                if (event.kind == OverlayPointer::Kind::move)
                    pointer.setCursor(surface, entry.cursor);
                if (entry.onPointer)
                    entry.onPointer(event);
            }
        for (const Catch& each : catches)
            for (const Backdrop& backdrop : each.backdrops)
                if (backdrop.surface() == surface)
                    caught(surface, event, each);
    }
    void caught(const wl_surface* surface, const OverlayPointer& event, const Catch& by) {
        pointer.setCursor(surface, OverlayCursor::arrow);
        if (event.kind == OverlayPointer::Kind::down)
            by.onMouseDown();
    }
    std::list<Catch>::iterator catchMouse(std::function<void()> onMouseDown) {
        Catch& made = catches.emplace_front();
        made.onMouseDown = std::move(onMouseDown);
        for (wl_output* const output : outputs.all())
            made.backdrops.emplace_back(globals, output);
        return catches.begin();
    }
    void release(std::list<Catch>::iterator taken) {
        for (const Backdrop& backdrop : taken->backdrops)
            pointer.forget(backdrop.surface());
        catches.erase(taken);
    }

    LayerGlobals globals;
    std::list<Entry> entries;
    std::list<Catch> catches;
    Outputs outputs;
    PointerImage image;
    PointerEvents pointer;
};

/// The main thread's half of an overlay.
class LayerSurfaces::Overlay final : public OverlaySurface {
public:
    Overlay(LayerSurfaces& owner, double distanceFromTop, std::function<void()> onScale)
        : m_owner(owner), m_onScale(std::move(onScale)) {
        m_owner.m_connection.call([&] {
            auto& shared = *m_owner.m_shared;
            const auto tell = [this, post = toMain([this] { m_onScale(); })](double scale) {
                if (m_scale.exchange(scale) != scale)
                    post();
            };
            m_scale = shared.outputs.highestScale();
            shared.entries.emplace_front(shared.globals, shared.outputs, static_cast<int>(std::lround(distanceFromTop)),
                                         tell);
            m_entry = shared.entries.begin();
        });
    }

    ~Overlay() override {
        // Waits, since what the surface tells is told to this.
        m_owner.m_connection.call([this] {
            m_owner.m_shared->pointer.forget(m_entry->surface.surface());
            m_owner.m_shared->entries.erase(m_entry);
        });
    }

    double scale() const override { return m_scale; }

    void show(OverlayFrame frame) override {
        m_owner.m_connection.invoke(
            [entry = m_entry, frame = std::move(frame)]() mutable { entry->surface.show(std::move(frame)); });
    }

    void acceptMouse(std::vector<OverlayRectangle> region,
                     std::function<void(const OverlayPointer&)> onPointer) override {
        m_onPointer = std::move(onPointer);
        const auto tell = [&queue = m_owner.m_mainQueue,
                           bound = std::function<void(const OverlayPointer&)>(
                               m_lifetime.bind([this](const OverlayPointer& event) { pointed(event); }))](
                              const OverlayPointer& event) { queue.post([bound, event] { bound(event); }); };
        m_owner.m_connection.invoke([entry = m_entry, region = std::move(region), tell] {
            entry->onPointer = tell;
            entry->surface.setInput(region);
        });
    }

    void setCursor(OverlayCursor cursor) override {
        m_owner.m_connection.invoke([&shared = *m_owner.m_shared, entry = m_entry, cursor] {
            entry->cursor = cursor;
            shared.pointer.setCursor(entry->surface.surface(), cursor);
        });
    }

private:
    void pointed(const OverlayPointer& event) {
        if (const auto handler = m_onPointer)
            handler(event);
    }
    std::function<void()> toMain(std::function<void()> task) { return m_owner.onMain(m_lifetime, std::move(task)); }

    LayerSurfaces& m_owner;
    const std::function<void()> m_onScale;
    std::function<void(const OverlayPointer&)> m_onPointer;
    std::atomic<double> m_scale = 1;
    std::list<Shared::Entry>::iterator m_entry; // on the connection's thread
    Lifetime m_lifetime;
};

std::unique_ptr<LayerSurfaces> LayerSurfaces::start(WaylandConnection& connection, MainQueue& mainQueue) {
    if (!connection.offers(zwlr_layer_shell_v1_interface.name) ||
        connection.version(wl_compositor_interface.name) < compositorVersion)
        return nullptr;
    return std::unique_ptr<LayerSurfaces>(new LayerSurfaces(connection, mainQueue));
}

LayerSurfaces::LayerSurfaces(WaylandConnection& connection, MainQueue& mainQueue)
    : m_connection(connection), m_mainQueue(mainQueue), m_shared([&] {
          std::unique_ptr<Shared> shared;
          connection.call([&] { shared = std::make_unique<Shared>(connection); });
          return shared;
      }()) {}

LayerSurfaces::~LayerSurfaces() {
    m_connection.call([this] { m_shared.reset(); });
}

std::unique_ptr<OverlaySurface> LayerSurfaces::make(double distanceFromTop, std::function<void()> onScale) {
    return std::make_unique<Overlay>(*this, distanceFromTop, std::move(onScale));
}

std::function<void()> LayerSurfaces::onMain(const Lifetime& lifetime, std::function<void()> task) {
    return [&queue = m_mainQueue, bound = std::function<void()>(lifetime.bind(std::move(task)))] { queue.post(bound); };
}

std::shared_ptr<void> LayerSurfaces::catchMouse(std::function<void()> onMouseDown) {
    // Its own: a mouse-down that is on its way when the handle dies is not told any more.
    auto lifetime = std::make_shared<Lifetime>();
    std::list<Shared::Catch>::iterator caught;
    m_connection.call([&] { caught = m_shared->catchMouse(onMain(*lifetime, std::move(onMouseDown))); });
    return {lifetime.get(), [this, lifetime, caught](void*) mutable {
                lifetime.reset();
                m_connection.call([&] { m_shared->release(caught); });
            }};
}

} // namespace fenlo
