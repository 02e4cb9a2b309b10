#include "platform/desktop/LoginManager.h"

#include <cstdlib>
#include <gio/gunixfdlist.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace fenlo::test {

namespace {
constexpr char path[] = "/org/freedesktop/login1";
constexpr char interface[] = "org.freedesktop.login1.Manager";
} // namespace

LoginManager::LoginManager() : m_cancel(g_cancellable_new()) {
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1);
    std::string error;
    m_bus = DBusConnection::open(std::getenv("DBUS_SYSTEM_BUS_ADDRESS"), m_cancel.get(), error);
    if (!m_bus)
        throw std::runtime_error("no system bus: " + error);
    g_dbus_connection_add_filter(m_bus->get(), &LoginManager::filter, this, nullptr);
    m_bus->call({"org.freedesktop.DBus", "/org/freedesktop/DBus"},
                {"org.freedesktop.DBus", "RequestName", g_variant_new("(su)", "org.freedesktop.login1", 0)},
                DBusConnection::Clock::now() + std::chrono::seconds(10));
}

LoginManager::~LoginManager() {
    g_dbus_connection_close_sync(m_bus->get(), nullptr, nullptr);
    ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    ::close(m_pipe);
}

void LoginManager::prepareForSleep(bool begins) {
    g_dbus_connection_emit_signal(m_bus->get(), nullptr, path, interface, "PrepareForSleep",
                                  g_variant_new("(b)", begins), nullptr);
    g_dbus_connection_flush_sync(m_bus->get(), nullptr, nullptr);
}

bool LoginManager::isInhibited() const {
    // A pipe whose other end nobody holds any more hangs up.
    pollfd pipe{m_pipe, POLLIN, 0};
    return m_pipe >= 0 && ::poll(&pipe, 1, 0) == 0;
}

GDBusMessage* LoginManager::filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* given) {
    const char* const member = g_dbus_message_get_member(message);
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL || !member ||
        std::string(member) != "Inhibit")
        return message;
    int ends[2];
    if (::pipe(ends) != 0)
        return message;
    ::close(static_cast<LoginManager*>(given)->m_pipe.exchange(ends[0]));
    GUnixFDList* const descriptors = g_unix_fd_list_new_from_array(&ends[1], 1);
    GDBusMessage* const reply = g_dbus_message_new_method_reply(message);
    g_dbus_message_set_unix_fd_list(reply, descriptors);
    g_dbus_message_set_body(reply, g_variant_new("(h)", 0));
    g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(descriptors);
    g_object_unref(message);
    return nullptr;
}

} // namespace fenlo::test
