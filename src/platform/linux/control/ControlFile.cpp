#include "platform/linux/control/ControlFile.h"

#include "base/Environment.h"
#include "base/Files.h"

#include <unistd.h>

namespace fenlo {

std::filesystem::path runtimeFolder() {
    const std::string runtime = environment("XDG_RUNTIME_DIR");
    if (::access(runtime.c_str(), W_OK) == 0)
        return runtime;
    files::makePrivateDirectory(files::dataDirectory());
    return files::dataDirectory();
}

std::filesystem::path controlFile() {
    return runtimeFolder() / "fenlo-control.socket";
}

} // namespace fenlo
