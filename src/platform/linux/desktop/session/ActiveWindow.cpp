#include "platform/linux/desktop/session/ActiveWindow.h"

#include "base/Text.h"

namespace fenlo {

std::unique_ptr<ActiveWindow> ActiveWindow::connect() {
    auto x = XcbConnection::open();
    return x ? std::unique_ptr<ActiveWindow>(new ActiveWindow(std::move(x))) : nullptr;
}

std::optional<WindowIdentity> ActiveWindow::identity() {
    const auto windows = m_x->numbers(m_x->root(), m_x->atom("_NET_ACTIVE_WINDOW"));
    if (windows.empty() || windows.front() == XCB_WINDOW_NONE)
        return std::nullopt;
    WindowIdentity identity;
    if (const auto property = m_x->property(windows.front(), XCB_ATOM_WM_CLASS)) {
        // The instance, a zero, the class, a zero.
        const auto parts = text::split(text::repairUtf8(property->bytes), '\0');
        identity.instance = parts[0];
        identity.windowClass = parts.size() > 1 ? parts[1] : "";
    }
    if (const auto process = m_x->numbers(windows.front(), m_x->atom("_NET_WM_PID")); !process.empty())
        addProcess(identity, process.front());
    const bool isKnown = !identity.windowClass.empty() || !identity.instance.empty() || !identity.program.empty();
    return isKnown ? std::optional(identity) : std::nullopt;
}

std::function<std::optional<WindowIdentity>()> activeWindowOfX11() {
    return [active = std::shared_ptr<ActiveWindow>(ActiveWindow::connect())] {
        return active ? active->identity() : std::nullopt;
    };
}

} // namespace fenlo
