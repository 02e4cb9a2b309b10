#include "app/transcribe/ResultFiles.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>

namespace fenlo {

void makeResultFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    std::string trial = (folder / ".fenlo_XXXXXX").string();
    const int file = ::mkostemp(trial.data(), O_CLOEXEC);
    const bool taken = file >= 0 && ::write(file, "x", 1) == 1;
    const int fault = errno;
    if (file >= 0) {
        ::close(file);
        ::unlink(trial.c_str());
    }
    if (!taken)
        throw std::runtime_error("cannot write into " + folder.string() + ": " + std::strerror(fault) +
                                 "; check the permissions, free some space, or name another folder");
}

bool resultExists(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(file, error));
}

} // namespace fenlo
