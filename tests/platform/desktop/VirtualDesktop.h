#pragma once

#include "support/ChildProcess.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

#include <functional>
#include <string>

namespace fenlo::test {

/// A screen of its own for the tests, on a free display number, with a window manager. DISPLAY names it meanwhile.
class VirtualDesktop {
public:
    VirtualDesktop();
    ~VirtualDesktop();

    /// Ends the server under everybody's feet.
    void end();

private:
    ChildProcess m_server;
    ChildProcess m_windowManager;
    std::string m_previousDisplay;
};

/// A message bus of its own, on which accessibility can be started, and nothing else of the machine's. The usual
/// variables name it meanwhile.
class VirtualBus {
public:
    VirtualBus();
    ~VirtualBus();

private:
    const TemporaryFolder m_folder;
    /// Settings of the desktop last as long as the process that sets them, instead of reaching the user's.
    const EnvironmentVariable m_settings{"GSETTINGS_BACKEND", "memory"};
    ChildProcess m_bus;
};

/// Waits for what other programs do.
inline bool eventually(const std::function<bool()>& condition, double limit = 5) {
    return waitUntil(limit, condition);
}

} // namespace fenlo::test
