#include "platform/desktop/keys/KeyWindow.h"

#include "platform/desktop/VirtualDesktop.h"

#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <stdexcept>

namespace fenlo::test {

namespace {
constexpr KeySym lastLatin = 0xFF;
}

KeyWindow::KeyWindow(const std::string& windowClass) {
    Display* const display = m_display->get();
    m_window = XCreateSimpleWindow(display, DefaultRootWindow(display), 100, 100, 300, 200, 0, 0, 0);
    XClassHint hint{const_cast<char*>(windowClass.c_str()), const_cast<char*>(windowClass.c_str())};
    XSetClassHint(display, m_window, &hint);
    XWMHints takesFocus{};
    takesFocus.flags = InputHint;
    takesFocus.input = True;
    XSetWMHints(display, m_window, &takesFocus);
    XSelectInput(display, m_window, KeyPressMask | FocusChangeMask);
    XMapRaised(display, m_window);
    const auto isFocused = [&] {
        activate();

        Window focus;
        int revert;
        XGetInputFocus(display, &focus, &revert);
        return focus == m_window;
    };
    if (!eventually(isFocused))
        throw std::runtime_error("the window gets no focus");
}

void KeyWindow::activate() {
    Display* const display = m_display->get();
    XEvent request{};
    request.xclient.type = ClientMessage;
    request.xclient.window = m_window;
    request.xclient.message_type = XInternAtom(display, "_NET_ACTIVE_WINDOW", False);
    request.xclient.format = 32;
    request.xclient.data.l[0] = 2; // on behalf of the user
    XSendEvent(display, DefaultRootWindow(display), False, SubstructureRedirectMask | SubstructureNotifyMask, &request);
    XSync(display, False);
}

KeyWindow::~KeyWindow() {
    XDestroyWindow(m_display->get(), m_window);
    XSync(m_display->get(), False);
}

std::optional<KeyWindow::Press> KeyWindow::next(double limit) {
    std::optional<Press> press;
    eventually([&] { return (press = poll()).has_value(); }, limit);
    return press;
}

std::vector<KeyWindow::Press> KeyWindow::rest() {
    XSync(m_display->get(), False);
    std::vector<Press> presses;
    while (const auto press = poll())
        presses.push_back(*press);
    return presses;
}

std::optional<KeyWindow::Press> KeyWindow::poll() {
    Display* const display = m_display->get();
    while (XPending(display)) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == MappingNotify)
            XRefreshKeyboardMapping(&event.xmapping);
        if (event.type != KeyPress)
            continue;
        Press press{NoSymbol, NoSymbol, event.xkey.state & 0xFF};
        const auto key = static_cast<KeyCode>(event.xkey.keycode);
        XkbLookupKeySym(display, key, event.xkey.state, nullptr, &press.symbol);
        if (IsModifierKey(press.symbol))
            continue;
        press.shortcut = press.symbol;
        for (unsigned group = 0; group < 4 && press.shortcut > lastLatin; ++group)
            press.shortcut = XkbKeycodeToKeysym(display, key, group, 0);
        return press;
    }
    return std::nullopt;
}

} // namespace fenlo::test
