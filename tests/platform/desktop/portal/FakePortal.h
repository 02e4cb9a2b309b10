#pragma once

#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/DBusConnection.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace fenlo::test {

/// Stands in for the desktop's portal, on a bus of its own, which is the session bus for its lifetime.
///
/// Threads: the handler runs on the bus connection's; all else may be called on any.
class FakePortal {
public:
    struct Call {
        std::string interface, method, object;
        std::string sender; // the caller's name on the bus
        GlibOwned<GVariant> arguments;
        std::string handle; // of the request object that its options ask for; empty when it is no request

        /// An entry of the options, which come last; null when there is none.
        GlibOwned<GVariant> option(const char* name) const;
    };
    /// Returns what the call returns at once, as a tuple; null: there is no such method.
    using Handler = std::function<GVariant*(const Call&)>;

    explicit FakePortal(Handler handler);
    ~FakePortal();

    /// What a request returns at once: its handle.
    static GVariant* accepts(const Call& call) { return g_variant_new("(o)", call.handle.c_str()); }

    /// Answers a request: 0 granted, 1 refused, 2 ended otherwise. `results` is a dictionary.
    void respond(const std::string& handle, unsigned code, GVariant* results = nullptr);
    void emit(const std::string& object, const char* interface, const char* signal, GVariant* arguments);

    /// The portal leaves the bus, as after a crash, and comes back.
    void leave();
    void come();

private:
    static GDBusMessage* filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* self);

    VirtualBus m_process;
    const Handler m_handler;
    std::optional<DBusConnection> m_bus;
};

} // namespace fenlo::test
