#include "platform/linux/desktop/session/StartProgram.h"

#include "base/ChildProcess.h"
#include "base/Environment.h"

#include <array>
#include <glib.h>

namespace fenlo {

bool startProgram(std::string program, std::string argument) {
    std::array<char*, 3> command{program.data(), argument.data(), nullptr};
    constexpr auto flags =
        static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    std::vector<std::string> variables = environmentForOthers();
    // GLib starts it as a grandchild, so there is no child to wait for.
    return g_spawn_async(nullptr, command.data(), pointersTo(variables).data(), flags, nullptr, nullptr, nullptr,
                         nullptr);
}

} // namespace fenlo
