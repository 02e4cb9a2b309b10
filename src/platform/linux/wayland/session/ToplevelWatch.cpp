#include "platform/linux/wayland/session/ToplevelWatch.h"

#include "base/Text.h"
#include "platform/linux/wayland/WaylandConnection.h"

#include "wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"

#include <algorithm>
#include <array>
#include <span>

namespace fenlo {

namespace {

constexpr std::uint32_t knownVersion = 3;
constexpr std::array ownIds{"fenlo", "org.fenlo.fenlo"}; // the class in XWayland, and the name of the desktop file

bool hasState(const wl_array& states, std::uint32_t wanted) {
    const std::span values(static_cast<const std::uint32_t*>(states.data), states.size / sizeof(std::uint32_t));
    return std::find(values.begin(), values.end(), wanted) != values.end();
}

} // namespace

std::unique_ptr<ToplevelWatch> ToplevelWatch::start(WaylandConnection& connection) {
    if (!connection.offers(zwlr_foreign_toplevel_manager_v1_interface.name))
        return nullptr;
    std::unique_ptr<ToplevelWatch> watch(new ToplevelWatch(connection));
    connection.call([&] { watch->bind(); });
    return watch;
}

ToplevelWatch::~ToplevelWatch() {
    m_connection.call([this] {
        for (const Toplevel& toplevel : m_toplevels)
            zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
        if (m_manager) {
            zwlr_foreign_toplevel_manager_v1_stop(m_manager);
            zwlr_foreign_toplevel_manager_v1_destroy(m_manager);
        }
    });
}

std::optional<WindowIdentity> ToplevelWatch::identity() const {
    const auto id = m_front.with([](const auto& front) { return front; });
    if (!id)
        return std::nullopt;
    const bool isOwn = std::find(ownIds.begin(), ownIds.end(), text::lower(*id)) != ownIds.end();
    return WindowIdentity{.windowClass = *id, .instance = {}, .program = {}, .isOwn = isOwn};
}

void ToplevelWatch::bind() {
    static constexpr zwlr_foreign_toplevel_manager_v1_listener managerListener{
        [](void* self, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle) {
            static_cast<ToplevelWatch*>(self)->add(handle);
        },
        [](void* self, zwlr_foreign_toplevel_manager_v1* manager) {
            zwlr_foreign_toplevel_manager_v1_destroy(manager);
            static_cast<ToplevelWatch*>(self)->m_manager = nullptr;
        },
    };
    m_manager =
        m_connection.bind<zwlr_foreign_toplevel_manager_v1>(zwlr_foreign_toplevel_manager_v1_interface, knownVersion);
    if (m_manager)
        zwlr_foreign_toplevel_manager_v1_add_listener(m_manager, &managerListener, this);
}

void ToplevelWatch::add(zwlr_foreign_toplevel_handle_v1* handle) {
    m_toplevels.push_front({this, handle, {}, false});
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener(), &m_toplevels.front());
}

const zwlr_foreign_toplevel_handle_v1_listener& ToplevelWatch::listener() {
    using Handle = zwlr_foreign_toplevel_handle_v1;
    static constexpr zwlr_foreign_toplevel_handle_v1_listener handleListener{
        [](void*, Handle*, const char*) {},
        [](void* self, Handle*, const char* id) { static_cast<Toplevel*>(self)->id = text::repairUtf8(id); },
        [](void*, Handle*, wl_output*) {},
        [](void*, Handle*, wl_output*) {},
        [](void* self, Handle*, wl_array* states) {
            static_cast<Toplevel*>(self)->isActivated =
                hasState(*states, ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED);
        },
        [](void* self, Handle*) { static_cast<Toplevel*>(self)->watch->publish(); },
        [](void* self, Handle*) {
            auto& gone = *static_cast<Toplevel*>(self);
            gone.watch->remove(gone);
        },
        [](void*, Handle*, Handle*) {},
    };
    return handleListener;
}

void ToplevelWatch::remove(const Toplevel& gone) {
    zwlr_foreign_toplevel_handle_v1_destroy(gone.handle);
    m_toplevels.remove_if([&](const Toplevel& toplevel) { return &toplevel == &gone; });
    publish();
}

void ToplevelWatch::publish() {
    const auto active = std::find_if(m_toplevels.begin(), m_toplevels.end(),
                                     [](const Toplevel& toplevel) { return toplevel.isActivated; });
    m_front.with([&](auto& front) { front = active == m_toplevels.end() ? std::nullopt : std::optional(active->id); });
}

} // namespace fenlo
