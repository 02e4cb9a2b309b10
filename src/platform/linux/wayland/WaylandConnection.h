#pragma once

#include "base/Guarded.h"
#include "platform/linux/desktop/GlibThread.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <wayland-client.h>

namespace fenlo {

/// What destroys a protocol object, for WaylandOwned.
template <auto destroy>
struct WaylandDestroy {
    template <typename T>
    void operator()(T* object) const {
        destroy(object);
    }
};

/// A protocol object, destroyed with its owner: WaylandOwned<wl_surface, wl_surface_destroy>.
template <typename T, auto destroy>
using WaylandOwned = std::unique_ptr<T, WaylandDestroy<destroy>>;

/// The connection to the Wayland compositor, on a thread of its own with a GLib loop: events arrive there, and requests
/// are made there. Other descriptors and time-outs of an adapter can be sources of the same loop.
///
/// The end of the compositor is said in the log once. From then on nothing arrives, requests do nothing, and tasks run
/// as before.
///
/// Threads:  open(), isLost(), version(), invoke() and call() on any; everything else on the connection's own.
///           Tasks and handlers there must not block: the clipboard of other programs waits for them.
/// Lifetime: whoever binds something destroys it on the thread, by call(), before the connection ends.
class WaylandConnection {
public:
    /// Connects to the compositor that WAYLAND_DISPLAY names, or to the session's first one, and learns what it offers.
    /// Nothing when there is none.
    static std::unique_ptr<WaylandConnection> open();
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    bool isLost() const { return m_isLost; }

    /// The version in which the compositor offers the interface now, such as "zwlr_layer_shell_v1"; 0 when it does not.
    std::uint32_t version(std::string_view interface) const;
    bool offers(std::string_view interface) const { return version(interface) != 0; }

    /// Runs the task on the thread, after the earlier ones, and sends its requests.
    void invoke(std::function<void()> task);
    /// The same, and waits for it. On the thread itself it runs at once.
    void call(const std::function<void()>& task);

    wl_display* display() const { return m_display; }

    /// The first object of this interface, in the highest version that both sides know; null when it is not offered.
    /// The caller owns it: each call binds anew.
    template <typename T>
    T* bind(const wl_interface& interface, std::uint32_t highestVersion) {
        return static_cast<T*>(bindFirst(interface, highestVersion));
    }

    /// Objects of an interface that come and go, such as outputs and seats.
    struct GlobalWatch {
        std::function<void(std::uint32_t name, std::uint32_t version)> added;
        std::function<void(std::uint32_t name)> removed;
    };
    /// Tells of those that are there, at once, and of every change until the returned handle dies (on the thread).
    [[nodiscard]] std::shared_ptr<void> watchGlobals(const std::string& interface, GlobalWatch watch);
    /// Binds the object that a GlobalWatch told of.
    void* bindNamed(std::uint32_t name, const wl_interface& interface, std::uint32_t version);

    /// The keyboard, pointer and clipboard of the user: the first seat. Null when there is none. It stays the
    /// connection's. Its capabilities come and go, so listen on a seat of your own where they matter.
    wl_seat* seat();

private:
    struct Global {
        std::string interface;
        std::uint32_t version = 0;
    };
    using Globals = std::map<std::uint32_t, Global>;
    using Watches = std::list<std::pair<std::string, GlobalWatch>>;
    struct Source;

    explicit WaylandConnection(wl_display* display);
    bool learnGlobals();
    void startThread();
    void addGlobal(std::uint32_t name, const char* interface, std::uint32_t version);
    void removeGlobal(std::uint32_t name);
    void* bindFirst(const wl_interface& interface, std::uint32_t highestVersion);
    bool isWell();

    wl_display* const m_display;
    wl_registry* m_registry = nullptr;
    wl_seat* m_seat = nullptr;
    std::atomic<bool> m_isLost = false;
    Guarded<Globals> m_globals;
    const std::shared_ptr<Watches> m_watches = std::make_shared<Watches>();
    GSource* m_source = nullptr;
    std::optional<GlibThread> m_thread;
};

} // namespace fenlo
