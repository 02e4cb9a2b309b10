#include "app/DesktopSession.h"

#include "base/Environment.h"
#include "platform/linux/desktop/accessibility/AtspiAccessibility.h"
#include "platform/linux/desktop/accessibility/AtspiThread.h"
#include "platform/linux/desktop/session/ActiveWindow.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/session/ToplevelWatch.h"

#include <QDir>
#include <QLibraryInfo>

namespace fenlo {

namespace {

constexpr double frontLimit = 0.1; // seconds for a program to say that it is in front

/// An X11 session stays one, also where a compositor runs in one of its windows.
bool isWaylandSession() {
    const std::string type = environment("XDG_SESSION_TYPE");
    if (type == "x11" && !environment("DISPLAY").empty())
        return false;
    return type == "wayland" || !environment("WAYLAND_DISPLAY").empty();
}

/// Without it the toolkit ends the process without a word of help.
bool hasToolkitForWayland() {
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + "/platforms");
    return !plugins.entryList({"libqwayland-*.so"}).isEmpty();
}

} // namespace

DesktopSession::DesktopSession() : m_wayland(isWaylandSession() ? WaylandConnection::open() : nullptr) {
    if (m_wayland)
        m_toplevels = ToplevelWatch::start(*m_wayland);
    m_x = ActiveWindow::connect();
}

DesktopSession::~DesktopSession() = default;

std::optional<std::string> DesktopSession::fault() const {
    if (hasX())
        return std::nullopt;
    if (!isWayland()) {
        const std::string name = environment("DISPLAY");
        return "no X display" + (name.empty() ? "" : " at " + name) +
               "; start it from a desktop session, or see `fenlo doctor`";
    }
    if (!hasToolkitForWayland())
        return "this Wayland session has no X server, and Qt lacks its module for Wayland: install qt6-wayland or "
               "xwayland";
    if (!m_wayland->offers("ext_data_control_manager_v1") && !m_wayland->offers("zwlr_data_control_manager_v1"))
        return "this Wayland session lets no program reach the clipboard: install xwayland and log in again";
    return std::nullopt;
}

void DesktopSession::chooseToolkitPlatform() const {
    // Native Wayland clients can neither place nor raise windows; XWayland clients can.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", isWayland() && !hasX() ? "wayland" : "xcb;wayland");
}

DesktopSession::FrontRoad DesktopSession::frontRoad() const {
    if (!isWayland())
        return FrontRoad::xServer;
    if (m_toplevels)
        return FrontRoad::toplevels;
    return hasX() ? FrontRoad::xWaylandAndAccessibility : FrontRoad::accessibility;
}

FrontWindow DesktopSession::frontWindow() {
    return [this] { return findFrontWindow(); };
}

std::optional<WindowIdentity> DesktopSession::findFrontWindow() {
    if (m_toplevels)
        return m_toplevels->identity();
    if (auto window = m_x ? m_x->identity() : std::nullopt; window || !isWayland())
        return window;
    return askAccessibility();
}

std::optional<WindowIdentity> DesktopSession::askAccessibility() {
    const auto program = m_accessibility ? m_accessibility->activeProgram(frontLimit) : std::nullopt;
    if (!program)
        return std::nullopt;
    WindowIdentity window{.windowClass = program->name, .instance = {}, .program = {}};
    if (program->process != 0)
        addProcess(window, program->process);
    return window;
}

} // namespace fenlo
