#include "app/meeting/LogAside.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace fenlo {

LogAside::LogAside(bool isShown) : m_descriptor(STDERR_FILENO) {
    const int kept = isShown ? -1 : ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    const int nowhere = kept < 0 ? -1 : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        std::fflush(stderr);
        ::dup2(nowhere, STDERR_FILENO);
        ::close(nowhere);
        m_descriptor = kept;
    } else if (kept >= 0) {
        ::close(kept);
    }
}

LogAside::~LogAside() {
    if (m_descriptor == STDERR_FILENO)
        return;
    std::fflush(stderr);
    ::dup2(m_descriptor, STDERR_FILENO);
    ::close(m_descriptor);
}

} // namespace fenlo
