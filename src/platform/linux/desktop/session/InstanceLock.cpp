#include "platform/linux/desktop/session/InstanceLock.h"

#include "base/Environment.h"
#include "base/Files.h"

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
    constexpr char name[] = "fenlo.lock";
    const std::string runtime = environment("XDG_RUNTIME_DIR");
    if (::access(runtime.c_str(), W_OK) == 0)
        return std::filesystem::path(runtime) / name;
    files::makePrivateDirectory(files::dataDirectory());
    return files::dataDirectory() / name;
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
