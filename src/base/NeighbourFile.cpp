#include "base/NeighbourFile.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace fenlo {

NeighbourFile::NeighbourFile(const std::filesystem::path& place)
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

bool NeighbourFile::commit() {
    const bool synced = ::fsync(m_descriptor) == 0;
    const int reason = errno;
    const bool closed = ::close(std::exchange(m_descriptor, -1)) == 0;
    if (!synced)
        errno = reason;
    if (!synced || !closed || ::rename(m_name.c_str(), m_place.c_str()) != 0)
        return false;
    m_name.clear();
    return true;
}

} // namespace fenlo
