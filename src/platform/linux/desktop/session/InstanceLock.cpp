#include "platform/linux/desktop/session/InstanceLock.h"

#include "platform/linux/control/ControlFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace fenlo {

InstanceLock::~InstanceLock() {
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

std::filesystem::path InstanceLock::defaultFile() {
    return runtimeFolder() / "fenlo.lock";
}

bool InstanceLock::take() {
    if (m_descriptor >= 0)
        return true;
    m_descriptor = ::open(m_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (m_descriptor < 0 || ::flock(m_descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return true;
    ::close(m_descriptor);
    m_descriptor = -1;
    return false;
}

} // namespace fenlo
