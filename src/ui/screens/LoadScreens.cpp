#include "base/Log.h"
#include "ui/screens/Screens.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <system_error>

namespace fenlo {

namespace {

/// Beside the program as it is built, or in its folder of libraries as it is installed.
int openModule() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const int beside = ::open((folder / SCREENS_MODULE).c_str(), O_RDONLY | O_CLOEXEC);
    return beside >= 0 ? beside
                       : ::open((folder.parent_path() / "lib/fenlo" / SCREENS_MODULE).c_str(), O_RDONLY | O_CLOEXEC);
}

} // namespace

ScreensModule::ScreensModule() : m_file(openModule()) {}

std::unique_ptr<Screens> ScreensModule::load(const ScreenModels& models) const {
    if (!m_file.isOpen()) {
        logError("The windows cannot be shown: {} is missing; install Fenlo again", SCREENS_MODULE);
        return nullptr;
    }
    const std::string file = "/proc/self/fd/" + std::to_string(m_file.number());
    void* const module = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const entrance = module ? ::dlsym(module, "fenloMakeScreens") : nullptr;
    if (!entrance) {
        logError("The windows cannot be shown: {}; install Fenlo again", ::dlerror());
        return nullptr;
    }
    return std::unique_ptr<Screens>(reinterpret_cast<decltype(&fenloMakeScreens)>(entrance)(models));
}

} // namespace fenlo
