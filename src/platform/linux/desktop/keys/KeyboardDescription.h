#pragma once

#include <X11/XKBlib.h>
#include <memory>

namespace fenlo {

struct KeyboardDescriptionDeleter {
    void operator()(XkbDescPtr keyboard) const { XkbFreeKeyboard(keyboard, XkbAllComponentsMask, True); }
};

/// The core keyboard's keys as the server describes them: their types and symbols. Null when it does not say.
using KeyboardDescription = std::unique_ptr<XkbDescRec, KeyboardDescriptionDeleter>;

inline KeyboardDescription describeKeyboard(Display* display) {
    return KeyboardDescription(XkbGetMap(display, XkbKeyTypesMask | XkbKeySymsMask, XkbUseCoreKbd));
}

} // namespace fenlo
