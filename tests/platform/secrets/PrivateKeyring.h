#pragma once

#include "support/ChildProcess.h"

#include <gio/gio.h>
#include <string>

namespace fenlo::test {

/// A session bus and a keyring daemon of the test's own, with their files in its home. The environment names them.
/// Make one per process only: GLib keeps its first connection.
class PrivateKeyring {
public:
    PrivateKeyring();
    ~PrivateKeyring();
    PrivateKeyring(const PrivateKeyring&) = delete;
    PrivateKeyring& operator=(const PrivateKeyring&) = delete;

    /// Keeps the daemon from answering, and lets it answer again.
    void freeze();
    void thaw();

    /// Locks the keyring. Nobody answers its prompts.
    void lock();
    /// Starts the daemon anew, with the keyring unlocked.
    void restart();

private:
    void startDaemon();

    std::string m_folder;
    std::string m_address;
    ChildProcess m_bus, m_daemon;
    GDBusConnection* m_connection = nullptr;
};

} // namespace fenlo::test
