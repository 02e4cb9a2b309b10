#include "platform/desktop/session/LoginManager.h"

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
constexpr char session[] = "/org/freedesktop/login1/session/_31";
constexpr char saver[] = "org.gnome.ScreenSaver";
constexpr char saverPath[] = "/org/gnome/ScreenSaver";

DBusConnection::Clock::time_point soon() {
    return DBusConnection::Clock::now() + std::chrono::seconds(10);
}
} // namespace

LoginManager::LoginManager() : m_cancel(g_cancellable_new()) {
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", std::getenv("DBUS_SESSION_BUS_ADDRESS"), 1);
    std::string error;
    m_bus = DBusConnection::open(std::getenv("DBUS_SYSTEM_BUS_ADDRESS"), m_cancel.get(), error);
    if (!m_bus)
        throw std::runtime_error("no system bus: " + error);
    g_dbus_connection_add_filter(m_bus->get(), &LoginManager::filter, this, nullptr);
    requestName("org.freedesktop.login1");
    requestName(saver);
}

void LoginManager::requestName(const char* name) {
    m_bus->call({"org.freedesktop.DBus", "/org/freedesktop/DBus"},
                {"org.freedesktop.DBus", "RequestName", g_variant_new("(su)", name, 0)}, soon());
}

LoginManager::~LoginManager() {
    g_dbus_connection_close_sync(m_bus->get(), nullptr, nullptr);
    ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    ::close(m_pipe);
}

void LoginManager::emit(const char* object, const char* speaker, const char* signal, GVariant* arguments) {
    g_dbus_connection_emit_signal(m_bus->get(), nullptr, object, speaker, signal, arguments, nullptr);
    g_dbus_connection_flush_sync(m_bus->get(), nullptr, nullptr);
}

void LoginManager::prepareForSleep(bool begins) {
    emit(path, interface, "PrepareForSleep", g_variant_new("(b)", begins));
}

void LoginManager::askForLock() {
    emit(session, "org.freedesktop.login1.Session", "Lock");
}

void LoginManager::setLocked(bool isLocked) {
    m_isLocked = isLocked;
    tellChange("LockedHint");
}

void LoginManager::setActive(bool isActive) {
    m_isActive = isActive;
    tellChange("Active");
}

void LoginManager::tellChange(const char* property) {
    emit(session, "org.freedesktop.DBus.Properties", "PropertiesChanged",
         g_variant_new_parsed("('org.freedesktop.login1.Session', @a{sv} {}, [%s])", property));
}

void LoginManager::setScreenSaverActive(bool isActive) {
    m_isSaverActive = isActive;
    emit(saverPath, saver, "ActiveChanged", g_variant_new("(b)", isActive));
}

void LoginManager::endScreenSaver() {
    m_bus->call({"org.freedesktop.DBus", "/org/freedesktop/DBus"},
                {"org.freedesktop.DBus", "ReleaseName", g_variant_new("(s)", saver)}, soon());
}

bool LoginManager::isInhibited() const {
    // The pipe hangs up once nobody holds its other end.
    pollfd pipe{m_pipe, POLLIN, 0};
    return m_pipe >= 0 && ::poll(&pipe, 1, 0) == 0;
}

GDBusMessage* LoginManager::filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* given) {
    const char* const member = g_dbus_message_get_member(message);
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL || !member)
        return message;
    const GlibObject<GDBusMessage> reply(g_dbus_message_new_method_reply(message));
    GVariant* const body = static_cast<LoginManager*>(given)->answer(member, message, reply.get());
    if (!body)
        return message;
    g_dbus_message_set_body(reply.get(), body);
    g_dbus_connection_send_message(bus, reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(message);
    return nullptr;
}

GVariant* LoginManager::answer(const std::string& question, GDBusMessage* call, GDBusMessage* reply) {
    const std::string object = g_dbus_message_get_path(call);
    if (question == "GetSession")
        return g_variant_new("(o)", session);
    if (question == "Get" && object == session) {
        const char* property = "";
        g_variant_get(g_dbus_message_get_body(call), "(&s&s)", nullptr, &property);
        const bool isTrue = std::string(property) == "Active" ? m_isActive : m_isLocked;
        return g_variant_new("(v)", g_variant_new_boolean(isTrue));
    }
    if (question == "GetActive" && object == saverPath)
        return g_variant_new("(b)", m_isSaverActive.load());
    int ends[2];
    if (question != "Inhibit" || ::pipe(ends) != 0)
        return nullptr;
    ::close(m_pipe.exchange(ends[0]));
    const GlibObject<GUnixFDList> descriptors(g_unix_fd_list_new_from_array(&ends[1], 1));
    g_dbus_message_set_unix_fd_list(reply, descriptors.get());
    return g_variant_new("(h)", 0);
}

} // namespace fenlo::test
