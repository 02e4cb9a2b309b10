#include "platform/linux/desktop/DBusConnection.h"

namespace fenlo {

std::optional<DBusConnection> DBusConnection::open(const std::string& address, GCancellable* cancel,
                                                   std::string& error) {
    constexpr auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GError* reason = nullptr;
    auto* const connection = g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, cancel, &reason);
    if (connection)
        return DBusConnection(connection, cancel);
    error = reason->message;
    g_error_free(reason);
    return std::nullopt;
}

std::string DBusConnection::addressOf(GBusType bus, GCancellable* cancel) {
    return takeString(g_dbus_address_get_for_bus_sync(bus, cancel, nullptr));
}

DBusConnection::Answer DBusConnection::call(const Object& object, const Call& call, Clock::time_point deadline) const {
    const GlibOwned<GVariant> arguments(call.arguments ? g_variant_ref_sink(call.arguments) : nullptr);
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0)
        return nullptr;
    return Answer(g_dbus_connection_call_sync(m_connection.get(), object.program.c_str(), object.path.c_str(),
                                              call.interface, call.method, arguments.get(),
                                              call.answerType ? G_VARIANT_TYPE(call.answerType) : nullptr, call.flags,
                                              static_cast<int>(left), m_cancel, nullptr));
}

DBusConnection::Answer DBusConnection::property(const Object& object, const char* interface, const char* name,
                                                Clock::time_point deadline) const {
    const Answer answer = call(
        object, {"org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", interface, name), "(v)"}, deadline);
    if (!answer)
        return nullptr;
    GVariant* value = nullptr;
    g_variant_get(answer.get(), "(v)", &value);
    return Answer(value);
}

} // namespace fenlo
