#pragma once

#include "platform/Workspace.h"
#include "platform/linux/desktop/session/DesktopFiles.h"

#include <cstdint>

namespace fenlo {

/// What a window tells about its program. Each may be empty.
struct WindowIdentity {
    std::string windowClass;
    std::string instance;
    std::string program; // file name of the process's executable
    bool isOwn = false;  // of this process
};

/// What the number of a window's process tells.
void addProcess(WindowIdentity& window, std::uint32_t process);

/// The application of a window: an id that tells what kind of application it is, and the keys that paste in it. For
/// programs outside the table of well-known ones, the categories of the desktop file decide.
FrontApplication identifyApplication(const WindowIdentity& window, DesktopFiles& desktopFiles);

} // namespace fenlo
