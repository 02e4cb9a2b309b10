#include "platform/linux/control/LocalSocket.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace fenlo {

LocalSocket::LocalSocket(const std::filesystem::path& file)
    : m_folder(::open(file.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
      m_number(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    const std::string path = "/proc/self/fd/" + std::to_string(m_folder.number()) + "/" + file.filename().string();
    m_address.sun_family = AF_UNIX;
    path.copy(m_address.sun_path, sizeof m_address.sun_path - 1);
}

LocalSocket::~LocalSocket() {
    if (m_number >= 0)
        ::close(m_number);
}

bool LocalSocket::listen(int waitingCallers) const {
    // The file takes the socket's permissions, so that it never has others.
    ::fchmod(m_number, S_IRUSR | S_IWUSR);
    return ::bind(m_number, address(), sizeof m_address) == 0 && ::listen(m_number, waitingCallers) == 0;
}

bool LocalSocket::connect() const {
    return ::connect(m_number, address(), sizeof m_address) == 0;
}

int LocalSocket::release() {
    return std::exchange(m_number, -1);
}

} // namespace fenlo
