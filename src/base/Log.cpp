#include "base/Log.h"

#include "base/Descriptor.h"
#include "base/Environment.h"
#include "base/Files.h"
#include "base/Text.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace fenlo {

std::filesystem::path logFile() {
    const std::filesystem::path state = environment("XDG_STATE_HOME", files::homeDirectory() / ".local" / "state");
    return state / "fenlo" / "Fenlo.log";
}

void detail::writeLog(std::string_view prefix, fmt::string_view format, fmt::format_args values) {
    // One write per line, in append mode: lines of several threads and processes never mix.
    const std::string text = text::repairUtf8(std::string(prefix) + fmt::vformat(format, values)) + '\n';
    writeAll(STDERR_FILENO, text);

    const auto path = logFile();
    constexpr int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC;
    int file = ::open(path.c_str(), flags, 0600);
    if (file < 0) {
        std::error_code ignored;
        std::filesystem::create_directories(path.parent_path(), ignored);
        ::chmod(path.parent_path().c_str(), 0700);
        file = ::open(path.c_str(), flags, 0600);
    }
    if (file < 0)
        return;
    writeAll(file, text);
    ::close(file);
}

} // namespace fenlo
