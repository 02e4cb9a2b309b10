#include "platform/linux/secrets/SecretServiceStore.h"

#include "base/Environment.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/linux/secrets/SecretDeadline.h"

#include <algorithm>
#include <filesystem>
#include <libsecret/secret.h>
#include <memory>

namespace fenlo {

namespace {

constexpr char serviceName[] = "com.fenlo.voicetotext";
constexpr double limitAfterRefusal = 1; // seconds; the user is not asked then

const SecretSchema& schema() {
    static const SecretSchema description = [] {
        SecretSchema value{};
        value.name = serviceName;
        value.flags = SECRET_SCHEMA_NONE;
        value.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        value.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return value;
    }();
    return description;
}

struct Free {
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(SecretValue* value) const { secret_value_unref(value); }
    void operator()(GList* items) const { g_list_free_full(items, g_object_unref); }
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
    void operator()(SecretService* service) const { g_object_unref(service); }
    void operator()(SecretCollection* collection) const { g_object_unref(collection); }
};

template <typename T>
using Owned = std::unique_ptr<T, Free>;

Owned<GHashTable> attributesOf(const std::string& name) {
    return Owned<GHashTable>(
        secret_attributes_build(&schema(), "service", serviceName, "account", name.c_str(), nullptr));
}

bool isCancelled(const GError& error) {
    return g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
}

std::string explain(const GError& error) {
    if (isCancelled(error))
        return "the keyring did not answer in time";
    return text::join(text::words(error.message), " ");
}

/// Without a session bus GLib would start one of its own, on which there is no keyring.
bool hasSessionBus() {
    if (!environment("DBUS_SESSION_BUS_ADDRESS").empty())
        return true;
    const std::filesystem::path runtime = environment("XDG_RUNTIME_DIR");
    std::error_code ignored;
    return !runtime.empty() && std::filesystem::exists(runtime / "bus", ignored);
}

/// A way to the keyring for one operation, or why there is none. It is nobody else's: one that threads share would
/// break under the others, and a keyring that was restarted does not know an earlier session.
struct Connection {
    Owned<SecretService> service;
    std::string fault = {};
    bool tookTooLong = false;
};

Connection connect(GCancellable* cancellable) {
    if (!hasSessionBus())
        return {nullptr, "there is no session bus to reach a keyring"};
    GError* error = nullptr;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, &error);
    if (!bus)
        return {nullptr, explain(*Owned<GError>(error))};
    g_dbus_connection_set_exit_on_close(bus, FALSE); // the program goes on when the bus ends
    g_object_unref(bus);
    Owned<SecretService> service(
        secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE, cancellable, &error));
    if (service)
        return {std::move(service)};
    const Owned<GError> fault(error);
    return {nullptr, explain(*fault), isCancelled(*fault)};
}

enum class Unlock { ask, leave };

/// Whether what is saved goes in without a question to the user.
bool isOpen(SecretService* service, GCancellable* cancellable) {
    const Owned<SecretCollection> collection(secret_collection_for_alias_sync(
        service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, nullptr));
    return collection && !secret_collection_get_locked(collection.get());
}

struct Refusal {
    std::string fault;
    bool wasRefused = false; // the keyring stayed locked or silent
};

/// Nothing when the value is stored.
std::optional<Refusal> store(const std::string& name, const std::string& value, Unlock unlock,
                             GCancellable* cancellable) {
    const Connection keyring = connect(cancellable);
    if (!keyring.service)
        return Refusal{keyring.fault, keyring.tookTooLong};
    if (unlock == Unlock::leave && !isOpen(keyring.service.get(), cancellable))
        return Refusal{"the keyring stays locked or silent", true};
    const Owned<SecretValue> secret(secret_value_new(value.data(), static_cast<gssize>(value.size()), "text/plain"));
    const std::string label = "Fenlo: " + name;
    GError* error = nullptr;
    secret_service_store_sync(keyring.service.get(), &schema(), attributesOf(name).get(), SECRET_COLLECTION_DEFAULT,
                              label.c_str(), secret.get(), cancellable, &error);
    if (!error)
        return {};
    const Owned<GError> fault(error);
    return Refusal{explain(*fault), isCancelled(*fault)};
}

struct LookUp {
    SecureStore::Value value;
    bool wasRefused = false; // the keyring stayed locked or silent
};

LookUp lookUp(const std::string& name, Unlock unlock, GCancellable* cancellable) {
    using Status = SecureStore::Status;
    const Connection keyring = connect(cancellable);
    if (!keyring.service)
        return {{Status::unavailable, {}}, keyring.tookTooLong};
    GError* error = nullptr;
    // A plain look-up cannot tell a locked item from a missing one.
    const auto flags = unlock == Unlock::ask ? SECRET_SEARCH_UNLOCK : SECRET_SEARCH_NONE;
    const Owned<GList> items(secret_service_search_sync(keyring.service.get(), &schema(), attributesOf(name).get(),
                                                        flags, cancellable, &error));
    if (error) {
        const Owned<GError> fault(error);
        return {{Status::unavailable, {}}, isCancelled(*fault)};
    }
    if (!items)
        return {{Status::notFound, {}}};
    const Owned<SecretValue> secret(
        secret_retrievable_retrieve_secret_sync(SECRET_RETRIEVABLE(items->data), cancellable, &error));
    if (error)
        g_error_free(error);
    if (!secret)
        return {{Status::unavailable, {}}, true};
    gsize size = 0;
    const char* bytes = secret_value_get(secret.get(), &size);
    return {{Status::ok, std::string(bytes, size)}};
}

} // namespace

SecretServiceStore::SecretServiceStore(double limit) : m_limit(limit), m_closed(g_cancellable_new()) {}

SecretServiceStore::~SecretServiceStore() {
    g_object_unref(m_closed);
}

/// Of one operation, in seconds: a keyring that was silent once is not waited for again.
double SecretServiceStore::limit(bool wasRefused) const {
    return wasRefused ? std::min(m_limit, limitAfterRefusal) : m_limit;
}

void SecretServiceStore::noteRefusal() {
    if (!m_wasRefused.exchange(true))
        logError("the keyring stays locked or silent; it is not asked again until a take is tried again from "
                 "the menu, or Fenlo starts again");
}

std::optional<std::string> SecretServiceStore::save(const std::string& name, const std::string& value) {
    const bool wasRefused = m_wasRefused;
    const SecretDeadline deadline(m_closed, limit(wasRefused));
    const auto refusal = store(name, value, wasRefused ? Unlock::leave : Unlock::ask, deadline.cancellable());
    m_processOnly.with([&](auto& values) {
        if (refusal)
            values[name] = value;
        else
            values.erase(name);
    });
    if (!refusal) {
        m_wasRefused = false;
        return {};
    }
    if (refusal->wasRefused)
        noteRefusal();
    return refusal->fault + "; the value is kept until the program ends";
}

SecureStore::Value SecretServiceStore::load(const std::string& name) {
    const auto kept = m_processOnly.with([&](const auto& values) {
        const auto found = values.find(name);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    });
    if (kept)
        return {Status::ok, *kept};
    const bool wasRefused = m_wasRefused;
    const SecretDeadline deadline(m_closed, limit(wasRefused));
    LookUp found = lookUp(name, wasRefused ? Unlock::leave : Unlock::ask, deadline.cancellable());
    if (found.wasRefused)
        noteRefusal();
    return std::move(found.value);
}

std::optional<std::string> SecretServiceStore::remove(const std::string& name) {
    const bool wasOurs = m_processOnly.with([&](auto& values) { return values.erase(name) > 0; });
    const bool wasRefused = m_wasRefused;
    const SecretDeadline deadline(m_closed, limit(wasRefused));
    const Connection keyring = connect(deadline.cancellable());
    if (!keyring.service) // where there is no keyring at all, what was kept for the process was all
        return wasOurs && !keyring.tookTooLong ? std::nullopt : std::optional(keyring.fault);
    GError* error = nullptr;
    secret_service_clear_sync(keyring.service.get(), &schema(), attributesOf(name).get(), deadline.cancellable(),
                              &error);
    if (error)
        return explain(*Owned<GError>(error));
    // It says nothing of what the user did not unlock.
    const LookUp left = lookUp(name, Unlock::leave, deadline.cancellable());
    if (left.value.status == Status::notFound)
        return {};
    return "the keyring stays locked or silent";
}

void SecretServiceStore::close() {
    g_cancellable_cancel(m_closed);
}

} // namespace fenlo
