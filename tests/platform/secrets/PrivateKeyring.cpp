#include "PrivateKeyring.h"

#include "base/Files.h"
#include "base/Text.h"
#include "support/WaitUntil.h"

#include <csignal>
#include <functional>
#include <stdexcept>

namespace fenlo::test {

namespace {

// No folder of services: nothing is started that the test did not start.
constexpr char busConfiguration[] = R"(<busconfig><type>session</type><listen>unix:path=@/bus</listen>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>)";

void waitFor(const char* what, const std::function<bool()>& isSo) {
    if (!waitUntil(10, isSo))
        throw std::runtime_error(std::string("no ") + what + " within ten seconds");
}

GVariant* call(GDBusConnection* bus, const char* to, const char* path, const char* interface, const char* method,
               GVariant* arguments) {
    return g_dbus_connection_call_sync(bus, to, path, interface, method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE,
                                       5000, nullptr, nullptr);
}

bool isOwned(GDBusConnection* bus, const char* name) {
    GVariant* reply =
        call(bus, "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "NameHasOwner", g_variant_new("(s)", name));
    gboolean owned = FALSE;
    if (reply) {
        g_variant_get(reply, "(b)", &owned);
        g_variant_unref(reply);
    }
    return owned;
}

} // namespace

PrivateKeyring::PrivateKeyring()
    : m_folder(files::homeDirectory() / "keyring"), m_address("unix:path=" + m_folder + "/bus") {
    files::makePrivateDirectory(m_folder);
    ::setenv("XDG_RUNTIME_DIR", m_folder.c_str(), 1);
    ::setenv("XDG_DATA_HOME", m_folder.c_str(), 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", m_address.c_str(), 1);
    ::unsetenv("DISPLAY");
    files::writeAtomically(m_folder + "/bus.conf", text::replaceAll(busConfiguration, "@", m_folder));

    m_bus = ChildProcess({"dbus-daemon", "--config-file=" + m_folder + "/bus.conf", "--nofork", "--nopidfile"});
    waitFor("session bus", [this] {
        m_connection = g_dbus_connection_new_for_address_sync(
            m_address.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        return m_connection != nullptr;
    });
    startDaemon();
}

PrivateKeyring::~PrivateKeyring() {
    m_daemon = {};
    g_object_unref(m_connection);
}

void PrivateKeyring::startDaemon() {
    m_daemon = ChildProcess({"gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"}, "password\n");
    waitFor("keyring", [this] { return isOwned(m_connection, "org.freedesktop.secrets"); });
}

void PrivateKeyring::freeze() {
    m_daemon.signal(SIGSTOP);
}

void PrivateKeyring::thaw() {
    m_daemon.signal(SIGCONT);
}

void PrivateKeyring::lock() {
    const char* keyring = "/org/freedesktop/secrets/collection/login";
    GVariant* reply =
        call(m_connection, "org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
             "Lock", g_variant_new("(@ao)", g_variant_new_objv(&keyring, 1)));
    if (!reply)
        throw std::runtime_error("the keyring could not be locked");
    g_variant_unref(reply);
}

void PrivateKeyring::restart() {
    m_daemon = {};
    waitFor("end of the keyring", [this] { return !isOwned(m_connection, "org.freedesktop.secrets"); });
    startDaemon();
}

} // namespace fenlo::test
