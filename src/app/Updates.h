#pragma once

#include "account/AutoUpdater.h"
#include "platform/linux/desktop/session/DebPackages.h"

#include <functional>

namespace fenlo {

class MenuBarController;
struct Deployment;

/// The search for newer releases of the program: one object of each. What is passed in outlives them.
struct Updates {
    struct Surroundings {
        const Deployment& deployment;
        HttpClient& http;
        Config& config;
        Clock& clock;
        MainQueue& mainQueue;
        Background& background;
    };

    explicit Updates(const Surroundings& around);
    Updates(const Updates&) = delete;
    Updates& operator=(const Updates&) = delete;

    /// Adds the lines of the menu, and begins with the daily checks; nothing of it where the deployment has no updates.
    void addTo(MenuBarController& menuBar, std::function<void()> showWindow);

    DebPackages packages;
    AutoUpdater updater;

private:
    const bool m_areOffered;
    Changes::Watch m_watch;
};

} // namespace fenlo
