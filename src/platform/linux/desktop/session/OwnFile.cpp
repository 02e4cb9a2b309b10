#include "platform/linux/desktop/session/OwnFile.h"

#include <string>
#include <string_view>
#include <system_error>

namespace fenlo {

std::filesystem::path ownFile() {
    constexpr std::string_view replaced = " (deleted)"; // the kernel's note
    std::error_code error;
    std::string file = std::filesystem::read_symlink("/proc/self/exe", error).string();
    if (file.ends_with(replaced))
        file.resize(file.size() - replaced.size());
    return file;
}

} // namespace fenlo
