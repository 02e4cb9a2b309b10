#include "platform/linux/desktop/portal/PortalRequest.h"

#include "base/Files.h"

#include <algorithm>
#include <limits>

namespace fenlo {

namespace {

constexpr char requestInterface[] = "org.freedesktop.portal.Request";

/// Where the portal puts the request object. The place is known before the call, so that no answer is missed.
std::string handleOf(GDBusConnection* bus, const std::string& token) {
    const char* const name = g_dbus_connection_get_unique_name(bus);
    std::string sender = name ? name : "";
    std::erase(sender, ':');
    std::replace(sender.begin(), sender.end(), '.', '_');
    return std::string(portal::path) + "/request/" + sender + "/" + token;
}

GVariant* withOptions(const PortalRequest::Call& call, const std::string& token) {
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
    for (const auto& [name, value] : call.options)
        g_variant_builder_add(&options, "{sv}", name, value);
    std::vector<GVariant*> arguments = call.arguments;
    arguments.push_back(g_variant_builder_end(&options));
    return g_variant_new_tuple(arguments.data(), arguments.size());
}

bool isAbsence(const GError* error) {
    return g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
           g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) ||
           g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_OBJECT) ||
           g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_INTERFACE) ||
           g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD);
}

} // namespace

std::string portal::makeToken() {
    std::string token = "fenlo_" + files::makeUuid();
    std::replace(token.begin(), token.end(), '-', '_');
    return token;
}

std::string portal::textIn(GVariant* results, const char* key) {
    const GlibOwned<GVariant> value(results ? g_variant_lookup_value(results, key, nullptr) : nullptr);
    const bool isText = value && (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING) ||
                                  g_variant_is_of_type(value.get(), G_VARIANT_TYPE_OBJECT_PATH));
    return isText ? g_variant_get_string(value.get(), nullptr) : "";
}

PortalPresence::PortalPresence(const DBusConnection& bus, std::function<void(bool isThere)> told)
    : m_told(std::move(told)) {
    g_dbus_connection_signal_subscribe(
        bus.get(), "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", "/org/freedesktop/DBus",
        portal::service, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* names, void* self) {
            const char* now = "";
            if (g_variant_is_of_type(names, G_VARIANT_TYPE("(sss)")))
                g_variant_get(names, "(&s&s&s)", nullptr, nullptr, &now);
            static_cast<PortalPresence*>(self)->m_told(*now != '\0');
        },
        this, nullptr);
}

PortalRequest::PortalRequest(const DBusConnection& bus, const Call& call, Done done)
    : m_bus(bus.get()), m_done(std::move(done)), m_cancel(g_cancellable_new()) {
    const std::string token = portal::makeToken();
    m_handle = handleOf(m_bus, token);
    subscribe();
    watchPortal();
    startLimit(call.limit);
    send(call, token);
}

PortalRequest::~PortalRequest() {
    if (m_done)
        withdraw();
    forget();
}

void PortalRequest::subscribe() {
    m_response = g_dbus_connection_signal_subscribe(
        m_bus, portal::service, requestInterface, "Response", m_handle.c_str(), nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters, void* self) {
            static_cast<PortalRequest*>(self)->responded(parameters);
        },
        this, nullptr);
}

/// A portal that ends takes its requests with it.
void PortalRequest::watchPortal() {
    m_owner = g_dbus_connection_signal_subscribe(
        m_bus, "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", "/org/freedesktop/DBus",
        portal::service, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* names, void* self) {
            const char* before = "";
            if (g_variant_is_of_type(names, G_VARIANT_TYPE("(sss)")))
                g_variant_get(names, "(&s&s&s)", nullptr, &before, nullptr);
            if (*before)
                static_cast<PortalRequest*>(self)->finish(Outcome::failed, nullptr, "the portal has ended");
        },
        this, nullptr);
}

void PortalRequest::startLimit(double seconds) {
    m_limit = g_timeout_source_new(static_cast<guint>(seconds * 1000));
    g_source_set_callback(
        m_limit,
        [](void* given) -> gboolean {
            auto* const self = static_cast<PortalRequest*>(given);
            self->withdraw();
            self->finish(Outcome::silent, nullptr, "the portal does not answer");
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(m_limit, g_main_context_get_thread_default());
}

void PortalRequest::send(const Call& call, const std::string& token) {
    g_dbus_connection_call(
        m_bus, portal::service, portal::path, call.interface, call.method, withOptions(call, token),
        G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NONE, std::numeric_limits<int>::max(), m_cancel.get(),
        [](GObject* connection, GAsyncResult* result, void* self) {
            GError* reason = nullptr;
            const GlibOwned<GVariant> answer(
                g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, &reason));
            const GlibOwned<GError> error(reason);
            // Of a request that is gone, or was answered before the call returned.
            if (!g_error_matches(reason, G_IO_ERROR, G_IO_ERROR_CANCELLED))
                static_cast<PortalRequest*>(self)->returned(answer.get(), reason);
        },
        this);
}

void PortalRequest::returned(GVariant* answer, const GError* error) {
    if (error)
        return finish(isAbsence(error) ? Outcome::absent : Outcome::failed, nullptr, error->message);
    const char* handle = nullptr;
    g_variant_get(answer, "(&o)", &handle);
    if (handle == m_handle)
        return;
    // Portals before 0.9 choose the place themselves.
    g_dbus_connection_signal_unsubscribe(m_bus, m_response);
    m_handle = handle;
    subscribe();
}

void PortalRequest::responded(GVariant* parameters) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})")))
        return finish(Outcome::failed, nullptr, "the portal's answer cannot be read");
    guint32 code = 0;
    GVariant* found = nullptr;
    g_variant_get(parameters, "(u@a{sv})", &code, &found);
    GlibOwned<GVariant> results(found);
    if (code == 0)
        finish(Outcome::granted, results.release(), "");
    else if (code == 1)
        finish(Outcome::denied, nullptr, "refused by the user");
    else
        finish(Outcome::failed, nullptr, "the portal gave up");
}

void PortalRequest::withdraw() {
    g_dbus_connection_call(m_bus, portal::service, m_handle.c_str(), requestInterface, "Close", nullptr, nullptr,
                           G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr, nullptr);
}

void PortalRequest::finish(Outcome outcome, GVariant* results, std::string error) {
    forget();
    Answer answer{outcome, GlibOwned<GVariant>(results), std::move(error)};
    // The last step: the handler may destroy this object.
    if (const Done done = std::exchange(m_done, nullptr))
        done(std::move(answer));
}

void PortalRequest::forget() {
    g_cancellable_cancel(m_cancel.get());
    for (guint* const subscription : {&m_response, &m_owner})
        if (const guint number = std::exchange(*subscription, 0))
            g_dbus_connection_signal_unsubscribe(m_bus, number);
    if (GSource* const limit = std::exchange(m_limit, nullptr)) {
        g_source_destroy(limit);
        g_source_unref(limit);
    }
}

} // namespace fenlo
