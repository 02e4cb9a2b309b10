#pragma once

#include "platform/linux/desktop/XcbConnection.h"
#include "platform/linux/desktop/session/ApplicationIdentity.h"

#include <functional>
#include <memory>
#include <optional>

namespace fenlo {

/// The window that the window manager has in front.
///
/// Threads: one. Asks the server only, never the window's program.
class ActiveWindow {
public:
    /// Nothing when there is no server.
    static std::unique_ptr<ActiveWindow> connect();

    bool isConnected() const { return !m_x->isLost(); }

    /// Nothing when no window is in front, or it is gone by now.
    std::optional<WindowIdentity> identity();

private:
    explicit ActiveWindow(std::unique_ptr<XcbConnection> x) : m_x(std::move(x)) {}

    const std::unique_ptr<XcbConnection> m_x;
};

/// Asks the server that DISPLAY names; without one there is never a window. For DesktopWorkspace.
std::function<std::optional<WindowIdentity>()> activeWindowOfX11();

} // namespace fenlo
