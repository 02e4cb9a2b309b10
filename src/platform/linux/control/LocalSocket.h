#pragma once

#include "base/Descriptor.h"

#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>

namespace fenlo {

/// A socket that is a file, not yet bound or connected, and without waiting. Its address goes through the open folder:
/// those of sockets have room for short paths only.
class LocalSocket {
public:
    explicit LocalSocket(const std::filesystem::path& file);
    ~LocalSocket();
    LocalSocket(const LocalSocket&) = delete;
    LocalSocket& operator=(const LocalSocket&) = delete;

    /// Makes the file, for its owner only, and listens. False with errno.
    bool listen(int waitingCallers) const;
    /// False with errno.
    bool connect() const;

    int number() const { return m_number; }
    /// The socket is the caller's to close.
    int release();

private:
    const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&m_address); }

    const Descriptor m_folder;
    int m_number;
    sockaddr_un m_address{};
};

} // namespace fenlo
