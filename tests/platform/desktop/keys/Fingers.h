#pragma once

#include "platform/linux/desktop/XDisplay.h"
#include "platform/linux/desktop/keys/KeyboardMap.h"

#include <X11/Xlib.h>
#include <X11/extensions/XInput.h>
#include <string>

namespace fenlo::test {

/// A hand on the screen's own keyboard: a device apart from the one through which programs post keys.
class Fingers {
public:
    Fingers();
    ~Fingers();

    void press(KeySym symbol) { touch(symbol, true); }
    void release(KeySym symbol) { touch(symbol, false); }
    /// By the key's number, whatever it means.
    void touchKey(unsigned key, bool down);
    void unplug();
    /// With the pointer at this place.
    void click(int x, int y, unsigned button = 1);

private:
    void touch(KeySym symbol, bool down);

    const std::unique_ptr<XDisplay> m_display = XDisplay::open();
    XDevice* m_keyboard = nullptr;
};

} // namespace fenlo::test
