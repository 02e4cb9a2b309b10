#include "base/LockedFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace fenlo {

std::optional<LockedFile> LockedFile::make(const std::filesystem::path& file) {
    return locked(::open(file.c_str(), O_RDWR | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600), Sharing::exclusive);
}

std::optional<LockedFile> LockedFile::open(const std::filesystem::path& file, Sharing sharing) {
    // Opening a pipe that somebody put there must not wait for its other end.
    return locked(::open(file.c_str(), O_RDWR | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC), sharing);
}

std::optional<LockedFile> LockedFile::locked(int descriptor, Sharing sharing) {
    if (descriptor < 0)
        return {};
    LockedFile file(descriptor);
    if (::flock(descriptor, (sharing == Sharing::shared ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0)
        return {};
    return file;
}

LockedFile::LockedFile(LockedFile&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

LockedFile::~LockedFile() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

bool LockedFile::append(std::string_view bytes) const {
    const ssize_t written = ::write(m_descriptor, bytes.data(), bytes.size());
    if (written >= 0 && written != static_cast<ssize_t>(bytes.size()))
        errno = ENOSPC; // a file takes a part only when there is no room for the rest
    return written == static_cast<ssize_t>(bytes.size());
}

} // namespace fenlo
