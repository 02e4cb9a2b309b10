#pragma once

#include "platform/Workspace.h"
#include "platform/linux/desktop/session/DesktopFiles.h"

namespace fenlo {

/// What a window tells of the program that it belongs to. Each may be empty.
struct WindowIdentity {
    std::string windowClass;
    std::string instance;
    std::string program; // file name of the process's executable
};

/// Names the application of a window as the rest of the program knows applications: an id that tells what kind of
/// application it is, and the keys that paste in it. What the table of well-known programs does not settle comes from
/// the categories of the desktop file.
FrontApplication identifyApplication(const WindowIdentity& window, DesktopFiles& desktopFiles);

} // namespace fenlo
