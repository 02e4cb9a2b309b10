#pragma once

#include "platform/linux/desktop/session/DesktopWorkspace.h"

#include <memory>
#include <optional>
#include <string>

namespace fenlo {

class ActiveWindow;
class AtspiAccessibility;
class ToplevelWatch;
class WaylandConnection;

/// The desktop session that the program runs in, X11 or Wayland. What it offers is found out once, at the start.
///
/// Threads:  main thread.
/// Lifetime: outlives all adapters that are made for it.
class DesktopSession {
public:
    /// What tells which window is in front, the best first.
    enum class FrontRoad { xServer, toplevels, xWaylandAndAccessibility, accessibility };

    DesktopSession();
    ~DesktopSession();
    DesktopSession(const DesktopSession&) = delete;
    DesktopSession& operator=(const DesktopSession&) = delete;

    bool isWayland() const { return m_wayland != nullptr; }
    /// The compositor's connection; only in a Wayland session.
    WaylandConnection& wayland() { return *m_wayland; }
    /// In a Wayland session: whether there is an X server for X programs.
    bool hasX() const { return m_x != nullptr; }

    /// Why the program cannot work here, with the remedy, in one sentence. Nothing when it can.
    std::optional<std::string> fault() const;
    /// Tells the toolkit what to draw on, unless the user has said it. Before the QApplication is made.
    void chooseToolkitPlatform() const;

    FrontRoad frontRoad() const;
    /// Asks by that road. The session must outlive it.
    FrontWindow frontWindow();
    /// Lets frontWindow() ask it where the session itself does not tell; null ends that.
    void setAccessibility(AtspiAccessibility* accessibility) { m_accessibility = accessibility; }

private:
    std::optional<WindowIdentity> findFrontWindow();
    std::optional<WindowIdentity> askAccessibility();

    std::unique_ptr<WaylandConnection> m_wayland;
    std::unique_ptr<ToplevelWatch> m_toplevels;
    std::unique_ptr<ActiveWindow> m_x;
    AtspiAccessibility* m_accessibility = nullptr;
};

} // namespace fenlo
