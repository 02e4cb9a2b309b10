#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "platform/Workspace.h"
#include "platform/linux/desktop/session/ApplicationIdentity.h"
#include "platform/linux/desktop/session/DesktopFiles.h"
#include "platform/linux/desktop/session/InstanceLock.h"
#include "platform/linux/desktop/session/StartedPrograms.h"

#include <functional>
#include <memory>
#include <vector>

namespace fenlo {

class InstanceDoor;
class ScreenLockWatch;
class SleepWatch;

/// What the session's front window is, as far as this kind of desktop tells. Called on the main thread.
using FrontWindow = std::function<std::optional<WindowIdentity>()>;

/// The session of a desktop, X11 or Wayland: the front window and desktop files name the front application, a lock file
/// marks the one instance, at whose socket later starts knock, XDG autostart starts it at login, logind tells of sleep,
/// logind and the screen saver of the lock.
///
/// Threads: as Workspace.
/// Errors:  without logind sleep is never announced; without it and a screen saver the screen never counts as locked.
class DesktopWorkspace final : public Workspace {
public:
    DesktopWorkspace(MainQueue& mainQueue, FrontWindow frontWindow);
    ~DesktopWorkspace() override;

    std::optional<FrontApplication> frontApplication() override;
    bool becomeOnlyInstance() override;
    bool callOtherInstance() override;
    void onCalled(std::function<void()> handler) override;
    /// Also true when the user has switched the entry off, which stays so.
    bool isLoginItem() const override;
    std::optional<std::string> registerLoginItem() override;
    bool opensAtLogin() const override;
    std::optional<std::string> setOpensAtLogin(bool opens) override;
    void onWillSleep(std::function<void()> handler) override;
    bool isScreenLocked() const override;
    void onScreenLocked(std::function<void()> handler) override;
    using Workspace::openUrl;
    /// Opens http, https, mailto and file addresses only.
    void openUrl(const std::string& url, std::function<void()> onFailure) override;
    bool openSoundSettings() override;

private:
    void called(std::function<void()> answer);

    MainQueue& m_mainQueue;
    const FrontWindow m_frontWindow;
    DesktopFiles m_desktopFiles;
    Timer m_firstRead;
    InstanceLock m_lock;
    std::unique_ptr<SleepWatch> m_sleepWatch;
    std::unique_ptr<ScreenLockWatch> m_screenLockWatch;
    std::function<void()> m_onCalled;
    std::vector<std::function<void()>> m_unanswered; // calls that came before there was a handler
    StartedPrograms m_openers;
    Lifetime m_lifetime;
    ThreadBackground m_openings;          // each waits some seconds for its opener
    std::unique_ptr<InstanceDoor> m_door; // dies before the lock, and first of all: its thread calls back
};

} // namespace fenlo
