#include "base/WriteFault.h"

#include <cerrno>
#include <system_error>

namespace fenlo::files {

std::string writeFault(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return "the disk is full";
    case EROFS:
        return "the disk is read-only";
    case EACCES:
    case EPERM:
        return "you may not write there";
    case ENOENT:
    case ENOTDIR:
        return "the folder does not exist";
    case EISDIR:
        return "a folder has this name";
    default:
        return std::generic_category().message(error);
    }
}

} // namespace fenlo::files
