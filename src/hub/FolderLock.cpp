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
    // A file system without locks has no other user to wait for either, as far as can be known.
    while (::flock(m_file.number(), LOCK_EX | LOCK_NB) != 0 && (errno == EWOULDBLOCK || errno == EINTR)) {
        if (!std::exchange(told, true))
            log("[Fenlo] Another download into " + folder.string() + " is under way; waiting for its end");
        pause(clock, askAgain, stop);
    }
}

} // namespace fenlo::hub
