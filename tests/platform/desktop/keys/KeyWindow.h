#pragma once

#include "platform/linux/desktop/XDisplay.h"

#include <X11/Xlib.h>
#include <optional>
#include <string>
#include <vector>

namespace fenlo::test {

/// A window with the keyboard's focus, as another program's.
class KeyWindow {
public:
    struct Press {
        KeySym symbol;   // in the layout that is current
        KeySym shortcut; // what a toolkit takes it for: the same if it is Latin, or what is Latin in another of the
                         // layouts
        unsigned state;
        bool operator==(const Press&) const = default;
    };

    explicit KeyWindow(const std::string& windowClass = "key-window");
    ~KeyWindow();

    Window id() const { return m_window; }

    /// Asks the window manager to bring it to the front.
    void activate();

    /// The next key that goes down and is no modifier.
    std::optional<Press> next(double limit = 2);
    /// What came so far besides.
    std::vector<Press> rest();

private:
    std::optional<Press> poll();

    const std::unique_ptr<XDisplay> m_display = XDisplay::open();
    Window m_window;
};

} // namespace fenlo::test
