#pragma once

#include "base/Guarded.h"
#include "platform/linux/desktop/session/ApplicationIdentity.h"

#include <list>
#include <memory>
#include <optional>
#include <string>

struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_handle_v1_listener;
struct zwlr_foreign_toplevel_manager_v1;
struct wl_array;

namespace fenlo {

class WaylandConnection;

/// The window in front, as compositors tell that offer wlr-foreign-toplevel-management. A window of XWayland has its
/// class for an id.
///
/// Threads: made and destroyed on the main thread; identity() on any.
class ToplevelWatch {
public:
    /// Nothing when the compositor does not tell. The connection must outlive this.
    static std::unique_ptr<ToplevelWatch> start(WaylandConnection& connection);
    ~ToplevelWatch();
    ToplevelWatch(const ToplevelWatch&) = delete;
    ToplevelWatch& operator=(const ToplevelWatch&) = delete;

    /// Nothing when no window is in front.
    std::optional<WindowIdentity> identity() const;

private:
    /// A window, as its events tell it. Those of one change end with a word of their own.
    struct Toplevel {
        ToplevelWatch* watch;
        zwlr_foreign_toplevel_handle_v1* handle;
        std::string id;
        bool isActivated = false;
    };

    explicit ToplevelWatch(WaylandConnection& connection) : m_connection(connection) {}
    void bind();
    void add(zwlr_foreign_toplevel_handle_v1* handle);
    void remove(const Toplevel& gone);
    void publish();
    static const zwlr_foreign_toplevel_handle_v1_listener& listener();

    WaylandConnection& m_connection;
    zwlr_foreign_toplevel_manager_v1* m_manager = nullptr; // this and the windows: on the connection's thread
    std::list<Toplevel> m_toplevels;
    Guarded<std::optional<std::string>> m_front;
};

} // namespace fenlo
