#include "platform/linux/wayland/WaylandConnection.h"

#include "base/LogThrown.h"
#include "platform/linux/desktop/DisplayLoss.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <future>

namespace fenlo {

namespace {

constexpr std::uint32_t seatVersion = 5; // from here on a seat's devices can be given back

} // namespace

/// The compositor's socket as a source of the loop: reads what has come, hands it to the listeners, and sends what they
/// and the tasks have asked for before the loop sleeps.
struct WaylandConnection::Source {
    GSource base;
    WaylandConnection* connection;
    void* descriptor;
    bool isReading;

    static GIOCondition conditions(int more = 0) {
        return static_cast<GIOCondition>(G_IO_IN | G_IO_ERR | G_IO_HUP | more);
    }

    static gboolean prepare(GSource* self, int* timeout) {
        Source& source = *reinterpret_cast<Source*>(self);
        wl_display* const display = source.connection->m_display;
        *timeout = -1;
        if (source.isReading)
            wl_display_cancel_read(display);
        source.isReading = false;
        if (!source.connection->isWell())
            return false;
        if (wl_display_prepare_read(display) != 0)
            return true; // events wait already
        source.isReading = true;
        const bool isFull = wl_display_flush(display) < 0 && errno == EAGAIN;
        g_source_modify_unix_fd(self, source.descriptor, isFull ? conditions(G_IO_OUT) : conditions());
        return false;
    }

    static gboolean check(GSource* self) {
        Source& source = *reinterpret_cast<Source*>(self);
        wl_display* const display = source.connection->m_display;
        if (!source.isReading)
            return false;
        source.isReading = false;
        if (g_source_query_unix_fd(self, source.descriptor) == 0) {
            wl_display_cancel_read(display);
            return false;
        }
        wl_display_read_events(display);
        return true;
    }

    static gboolean dispatch(GSource* self, GSourceFunc, void*) {
        WaylandConnection& connection = *reinterpret_cast<Source*>(self)->connection;
        logThrown("Wayland", [&] { wl_display_dispatch_pending(connection.m_display); });
        return connection.isWell() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }

    static GSource* make(WaylandConnection& connection) {
        static GSourceFuncs functions{&prepare, &check, &dispatch, nullptr, nullptr, nullptr};
        GSource* const self = g_source_new(&functions, sizeof(Source));
        Source& source = *reinterpret_cast<Source*>(self);
        source.connection = &connection;
        source.isReading = false;
        source.descriptor = g_source_add_unix_fd(self, wl_display_get_fd(connection.m_display), conditions());
        return self;
    }
};

std::unique_ptr<WaylandConnection> WaylandConnection::open() {
    wl_display* const display = wl_display_connect(nullptr);
    if (!display)
        return nullptr;
    ::fcntl(wl_display_get_fd(display), F_SETFD, FD_CLOEXEC);
    std::unique_ptr<WaylandConnection> connection(new WaylandConnection(display));
    if (!connection->learnGlobals())
        return nullptr;
    connection->startThread();
    return connection;
}

WaylandConnection::WaylandConnection(wl_display* display) : m_display(display) {}

WaylandConnection::~WaylandConnection() {
    m_thread.reset();
    if (m_source) {
        g_source_destroy(m_source);
        g_source_unref(m_source);
    }
    if (m_seat)
        wl_seat_get_version(m_seat) >= WL_SEAT_RELEASE_SINCE_VERSION ? wl_seat_release(m_seat)
                                                                     : wl_seat_destroy(m_seat);
    if (m_registry)
        wl_registry_destroy(m_registry);
    wl_display_disconnect(m_display);
}

bool WaylandConnection::learnGlobals() {
    static constexpr wl_registry_listener listener{
        [](void* self, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
            static_cast<WaylandConnection*>(self)->addGlobal(name, interface, version);
        },
        [](void* self, wl_registry*, std::uint32_t name) { static_cast<WaylandConnection*>(self)->removeGlobal(name); },
    };
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &listener, this);
    return wl_display_roundtrip(m_display) >= 0;
}

void WaylandConnection::startThread() {
    m_thread.emplace();
    m_source = Source::make(*this);
    m_thread->attach(m_source);
}

bool WaylandConnection::isWell() {
    if (m_isLost || wl_display_get_error(m_display) == 0)
        return !m_isLost;
    m_isLost = true;
    tellDisplayLoss("Wayland compositor");
    // The socket of a lost compositor is readable for ever.
    g_source_destroy(m_source);
    return false;
}

void WaylandConnection::invoke(std::function<void()> task) {
    m_thread->invoke(std::move(task));
}

void WaylandConnection::call(const std::function<void()>& task) {
    if (m_thread->isCurrent()) {
        task();
        return;
    }
    std::promise<void> done;
    m_thread->invoke([&] {
        logThrown("Wayland", task);
        done.set_value();
    });
    done.get_future().wait();
}

std::uint32_t WaylandConnection::version(std::string_view interface) const {
    return m_globals.with([&](const Globals& globals) {
        const auto found = std::find_if(globals.begin(), globals.end(),
                                        [&](const auto& entry) { return entry.second.interface == interface; });
        return found == globals.end() ? std::uint32_t{0} : found->second.version;
    });
}

void WaylandConnection::addGlobal(std::uint32_t name, const char* interface, std::uint32_t version) {
    m_globals.with([&](Globals& globals) { globals[name] = {interface, version}; });
    for (const auto& [wanted, watch] : Watches(*m_watches))
        if (wanted == interface)
            watch.added(name, version);
}

void WaylandConnection::removeGlobal(std::uint32_t name) {
    const Global gone = m_globals.with([&](Globals& globals) {
        const auto node = globals.extract(name);
        return node ? node.mapped() : Global{};
    });
    for (const auto& [wanted, watch] : Watches(*m_watches))
        if (wanted == gone.interface)
            watch.removed(name);
}

void* WaylandConnection::bindFirst(const wl_interface& interface, std::uint32_t highestVersion) {
    const auto [name, version] = m_globals.with([&](const Globals& globals) {
        for (const auto& [number, global] : globals)
            if (global.interface == interface.name)
                return std::pair(number, global.version);
        return std::pair(std::uint32_t{0}, std::uint32_t{0});
    });
    return version == 0 ? nullptr : bindNamed(name, interface, std::min(version, highestVersion));
}

void* WaylandConnection::bindNamed(std::uint32_t name, const wl_interface& interface, std::uint32_t version) {
    return wl_registry_bind(m_registry, name, &interface, version);
}

std::shared_ptr<void> WaylandConnection::watchGlobals(const std::string& interface, GlobalWatch watch) {
    const Globals known = m_globals.with([](const Globals& globals) { return globals; });
    for (const auto& [name, global] : known)
        if (global.interface == interface)
            watch.added(name, global.version);
    m_watches->emplace_back(interface, std::move(watch));
    const auto place = std::prev(m_watches->end());
    return {place->first.data(), [watches = m_watches, place](void*) { watches->erase(place); }};
}

wl_seat* WaylandConnection::seat() {
    if (!m_seat)
        m_seat = bind<wl_seat>(wl_seat_interface, seatVersion);
    return m_seat;
}

} // namespace fenlo
