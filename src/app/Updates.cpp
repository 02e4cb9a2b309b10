#include "app/Updates.h"

#include "Version.h"
#include "base/Files.h"
#include "settings/Deployment.h"
#include "shell/MenuBarController.h"

#include <utility>

namespace fenlo {

Updates::Updates(const Surroundings& around)
    : updater({.feed = around.deployment.updateFeed,
               .key = around.deployment.updateKey,
               .version = version,
               .http = around.http,
               .packages = packages,
               .config = around.config,
               .clock = around.clock,
               .mainQueue = around.mainQueue,
               .background = around.background,
               .folder = files::cacheDirectory() / "updates",
               .record = files::dataDirectory() / "updates.json"}),
      m_areOffered(around.deployment.offersUpdates()) {}

void Updates::addTo(MenuBarController& menuBar, std::function<void()> showWindow) {
    if (!m_areOffered)
        return;
    menuBar.checkForUpdates = [this, showWindow] {
        updater.checkForUpdates();
        showWindow();
    };
    menuBar.onShowUpdate = std::move(showWindow);
    m_watch = updater.watch([this, &menuBar, shown = std::string()]() mutable {
        if (std::string notice = updater.notice(); std::exchange(shown, notice) != notice)
            menuBar.refreshMenu();
    });
    updater.start();
}

} // namespace fenlo
