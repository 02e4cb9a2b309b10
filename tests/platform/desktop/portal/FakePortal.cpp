#include "platform/desktop/portal/FakePortal.h"

#include "platform/linux/desktop/portal/PortalRequest.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace fenlo::test {

namespace {

void askBus(const DBusConnection& bus, const char* method, GVariant* arguments) {
    bus.call({"org.freedesktop.DBus", "/org/freedesktop/DBus"}, {"org.freedesktop.DBus", method, arguments},
             DBusConnection::Clock::now() + std::chrono::seconds(10));
}

std::string handleOf(const FakePortal::Call& call) {
    const auto token = call.option("handle_token");
    if (!token)
        return "";
    std::string sender = call.sender.substr(1);
    std::replace(sender.begin(), sender.end(), '.', '_');
    return std::string(portal::path) + "/request/" + sender + "/" + g_variant_get_string(token.get(), nullptr);
}

} // namespace

GlibOwned<GVariant> FakePortal::Call::option(const char* name) const {
    const gsize count = arguments ? g_variant_n_children(arguments.get()) : 0;
    if (count == 0)
        return nullptr;
    const GlibOwned<GVariant> options(g_variant_get_child_value(arguments.get(), count - 1));
    if (!g_variant_is_of_type(options.get(), G_VARIANT_TYPE_VARDICT))
        return nullptr;
    return GlibOwned<GVariant>(g_variant_lookup_value(options.get(), name, nullptr));
}

FakePortal::FakePortal(Handler handler) : m_handler(std::move(handler)) {
    std::string error;
    m_bus = DBusConnection::open(std::getenv("DBUS_SESSION_BUS_ADDRESS"), nullptr, error);
    if (!m_bus)
        throw std::runtime_error("no session bus: " + error);
    g_dbus_connection_add_filter(m_bus->get(), &FakePortal::filter, this, nullptr);
    come();
}

FakePortal::~FakePortal() {
    g_dbus_connection_close_sync(m_bus->get(), nullptr, nullptr);
}

void FakePortal::come() {
    askBus(*m_bus, "RequestName", g_variant_new("(su)", portal::service, 0));
}

void FakePortal::leave() {
    askBus(*m_bus, "ReleaseName", g_variant_new("(s)", portal::service));
}

void FakePortal::respond(const std::string& handle, unsigned code, GVariant* results) {
    GVariant* const dictionary = results ? results : g_variant_new_parsed("@a{sv} {}");
    emit(handle, "org.freedesktop.portal.Request", "Response", g_variant_new("(u@a{sv})", code, dictionary));
}

void FakePortal::emit(const std::string& object, const char* interface, const char* signal, GVariant* arguments) {
    g_dbus_connection_emit_signal(m_bus->get(), nullptr, object.c_str(), interface, signal, arguments, nullptr);
}

GDBusMessage* FakePortal::filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* given) {
    const char* const member = g_dbus_message_get_member(message);
    const char* const interface = g_dbus_message_get_interface(message);
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL || !interface)
        return message;
    Call call{interface, member, g_dbus_message_get_path(message), g_dbus_message_get_sender(message), nullptr, ""};
    if (GVariant* const body = g_dbus_message_get_body(message))
        call.arguments.reset(g_variant_ref(body));
    call.handle = handleOf(call);
    GVariant* const body = static_cast<FakePortal*>(given)->m_handler(call);
    if (!body)
        return message;
    const GlibObject<GDBusMessage> reply(g_dbus_message_new_method_reply(message));
    g_dbus_message_set_body(reply.get(), body);
    g_dbus_connection_send_message(bus, reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(message);
    return nullptr;
}

} // namespace fenlo::test
