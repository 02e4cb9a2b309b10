#pragma once

#include "platform/linux/desktop/Glib.h"

#include <chrono>
#include <optional>
#include <string>

namespace fenlo {

/// A private connection to a message bus. GLib's shared one would end the process when the bus goes away.
///
/// Threads: one; subscribed signals are delivered on it too.
/// Errors:  a call that fails, or is not answered before its deadline, has no answer.
class DBusConnection {
public:
    using Clock = std::chrono::steady_clock;
    using Answer = GlibOwned<GVariant>;

    /// An object of a program on the bus.
    struct Object {
        std::string program;
        std::string path;
        bool operator==(const Object&) const = default;
    };

    struct Call {
        const char* interface;
        const char* method;
        GVariant* arguments = nullptr; // a tuple; consumed
        const char* answerType = nullptr;
        GDBusCallFlags flags = G_DBUS_CALL_FLAGS_NONE;
    };

    /// `cancel` ends all waiting, here and later. Without a connection, `error` tells why.
    static std::optional<DBusConnection> open(const std::string& address, GCancellable* cancel, std::string& error);
    /// The address of one of the usual buses; empty when there is none.
    static std::string addressOf(GBusType bus, GCancellable* cancel);

    Answer call(const Object& object, const Call& call, Clock::time_point deadline) const;

    /// A property's value, whatever its type.
    Answer property(const Object& object, const char* interface, const char* name, Clock::time_point deadline) const;

    bool isClosed() const { return g_dbus_connection_is_closed(m_connection.get()); }
    GDBusConnection* get() const { return m_connection.get(); }
    GCancellable* cancel() const { return m_cancel; }

private:
    DBusConnection(GDBusConnection* connection, GCancellable* cancel) : m_connection(connection), m_cancel(cancel) {}

    GlibObject<GDBusConnection> m_connection;
    GCancellable* m_cancel;
};

} // namespace fenlo
