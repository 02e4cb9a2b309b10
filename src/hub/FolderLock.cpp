#include "hub/FolderLock.h"

#include "base/Log.h"
#include "base/Text.h"
#include "hub/HubPaths.h"
#include "hub/Retries.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>
#include <utility>

namespace fenlo::hub {

namespace {

constexpr double askAgain = 0.1; // seconds

} // namespace

FolderLock::FolderLock(const std::filesystem::path& folder, Clock& clock, std::stop_token stop)
    : m_file(::open((folder / lockName).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
    if (!m_file.isOpen())
        throw HubError(HubError::Kind::disk, "cannot download into " + folder.string() + ": " +
                                                 text::lower(std::generic_category().message(errno)) +
                                                 "; check the folder's permissions");
    bool told = false;
    // Where the file system has no locks, nobody is waited for.
    while (::flock(m_file.number(), LOCK_EX | LOCK_NB) != 0 && (errno == EWOULDBLOCK || errno == EINTR)) {
        if (!std::exchange(told, true))
            logInfo("Another download into {} is under way; waiting for its end", folder.string());
        pause(clock, askAgain, stop);
    }
}

} // namespace fenlo::hub
