#include "base/NeighbourFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace fenlo {

namespace fs = std::filesystem;

bool renameToFreeName(const fs::path& file, const fs::path& name) {
    if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL)
        return false;
    // Some file systems lack the flag.
    std::error_code error;
    if (fs::exists(fs::symlink_status(name, error))) {
        errno = EEXIST;
        return false;
    }
    return ::rename(file.c_str(), name.c_str()) == 0;
}

NeighbourFile::NeighbourFile(const fs::path& place)
    : m_place(place), m_name(place.string() + ".XXXXXX"), m_descriptor(::mkostemp(m_name.data(), O_CLOEXEC)) {
    if (!isOpen())
        m_name.clear();
}

NeighbourFile::~NeighbourFile() {
    const int reason = errno; // of the failure that ends it early
    if (isOpen())
        ::close(m_descriptor);
    if (!m_name.empty())
        ::unlink(m_name.c_str());
    errno = reason;
}

bool NeighbourFile::commit(Existing existing) {
    const bool synced = ::fsync(m_descriptor) == 0;
    const int reason = errno;
    const bool closed = ::close(std::exchange(m_descriptor, -1)) == 0;
    if (!synced)
        errno = reason;
    if (!synced || !closed)
        return false;
    if (existing == Existing::keep ? !renameToFreeName(m_name, m_place)
                                   : ::rename(m_name.c_str(), m_place.c_str()) != 0)
        return false;
    m_name.clear();
    return true;
}

} // namespace fenlo
