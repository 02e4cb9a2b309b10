#pragma once

#include "platform/Workspace.h"
#include "platform/linux/desktop/session/DesktopFiles.h"
#include "platform/linux/desktop/session/InstanceLock.h"

#include <memory>

namespace fenlo {

class ActiveWindow;
class MainQueue;
class ScreenLockWatch;
class SleepWatch;

/// The session of an X11 desktop: window properties and desktop files name the front application, a lock file marks
/// the one instance, XDG autostart starts it at login, logind tells of sleep, logind and the screen saver of the lock.
///
/// Threads: as Workspace.
/// Errors:  without an X server there is no front application; without logind sleep is never announced;
///          without it and a screen saver the screen never counts as locked.
class X11Workspace final : public Workspace {
public:
    /// Connects to the server that DISPLAY names.
    explicit X11Workspace(MainQueue& mainQueue);
    ~X11Workspace() override;

    bool isConnected() const;

    std::optional<FrontApplication> frontApplication() override;
    bool becomeOnlyInstance() override;
    /// Also true when the user has switched the entry off, which stays so.
    bool isLoginItem() const override;
    std::optional<std::string> registerLoginItem() override;
    void onWillSleep(std::function<void()> handler) override;
    bool isScreenLocked() const override;
    void onScreenLocked(std::function<void()> handler) override;
    /// Opens http, https, mailto and file addresses only.
    void openUrl(const std::string& url) override;

private:
    MainQueue& m_mainQueue;
    DesktopFiles m_desktopFiles;
    InstanceLock m_lock;
    std::unique_ptr<ActiveWindow> m_activeWindow;
    std::unique_ptr<SleepWatch> m_sleepWatch;
    std::unique_ptr<ScreenLockWatch> m_screenLockWatch;
};

} // namespace fenlo
