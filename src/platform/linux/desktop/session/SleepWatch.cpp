#include "platform/linux/desktop/session/SleepWatch.h"

#include "base/Log.h"
#include "base/MainQueue.h"

#include <gio/gunixfdlist.h>
#include <unistd.h>

namespace fenlo {

namespace {

constexpr char service[] = "org.freedesktop.login1";
constexpr char path[] = "/org/freedesktop/login1";
constexpr char interface[] = "org.freedesktop.login1.Manager";
constexpr int callLimit = 5000; // milliseconds

} // namespace

SleepWatch::SleepWatch(MainQueue& mainQueue, std::function<void()> handler)
    : m_mainQueue(mainQueue), m_handler(std::move(handler)), m_end(g_cancellable_new()),
      m_thread(std::make_unique<GlibThread>()) {
    m_thread->invoke([this] { connect(); });
}

SleepWatch::~SleepWatch() {
    g_cancellable_cancel(m_end.get());
    // Ends the deliveries.
    m_thread.reset();
}

void SleepWatch::connect() {
    std::string error;
    m_bus = DBusConnection::open(DBusConnection::addressOf(G_BUS_TYPE_SYSTEM, m_end.get()), m_end.get(), error);
    if (!m_bus) {
        if (!g_cancellable_is_cancelled(m_end.get()))
            logInfo("Sleep will not be noticed: {}", error);
        return;
    }
    g_dbus_connection_signal_subscribe(
        m_bus->get(), service, interface, "PrepareForSleep", path, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters, void* self) {
            if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)")))
                return;
            gboolean begins = false;
            g_variant_get(parameters, "(b)", &begins);
            auto* const watch = static_cast<SleepWatch*>(self);
            begins ? watch->prepareForSleep() : watch->inhibit();
        },
        this, nullptr);
    inhibit();
}

void SleepWatch::inhibit() {
    GUnixFDList* received = nullptr;
    const GlibOwned<GVariant> answer(g_dbus_connection_call_with_unix_fd_list_sync(
        m_bus->get(), service, path, interface, "Inhibit",
        g_variant_new("(ssss)", "sleep", "Fenlo", "Finishing a recording", "delay"), G_VARIANT_TYPE("(h)"),
        G_DBUS_CALL_FLAGS_NONE, callLimit, nullptr, &received, m_end.get(), nullptr));
    if (!answer)
        return;
    const GlibObject<GUnixFDList> descriptors(received);
    const int descriptor = received ? g_unix_fd_list_get(received, 0, nullptr) : -1;
    if (descriptor < 0)
        return;
    m_inhibitor = Inhibitor(new int(descriptor), [](const int* held) {
        ::close(*held);
        delete held;
    });
}

void SleepWatch::prepareForSleep() {
    // The task holds the inhibitor until the handler is done.
    m_mainQueue.post(m_lifetime.bind([this, held = std::move(m_inhibitor)] { m_handler(); }));
    m_inhibitor.reset();
}

} // namespace fenlo
