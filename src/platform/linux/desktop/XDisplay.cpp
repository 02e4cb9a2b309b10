#include "platform/linux/desktop/XDisplay.h"

#include "platform/linux/desktop/DisplayLoss.h"

#include <X11/Xlib.h>
#include <fcntl.h>

namespace fenlo {

std::unique_ptr<XDisplay> XDisplay::open() {
    XInitThreads();
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return nullptr;
    ::fcntl(ConnectionNumber(display), F_SETFD, FD_CLOEXEC);
    return std::unique_ptr<XDisplay>(new XDisplay(display));
}

XDisplay::XDisplay(Display* display) : m_display(display) {
    // Xlib ends the process in two places when a connection is lost. This one serves all connections and may return;
    // the other is set for each connection, and a foreign one still ends the process there.
    XSetIOErrorHandler([](Display*) {
        tellLoss();
        return 0;
    });
    XSetIOErrorExitHandler(
        display, [](Display*, void* self) { static_cast<XDisplay*>(self)->m_lost = true; }, this);
}

void XDisplay::tellLoss() {
    tellDisplayLoss("X server");
}

XDisplay::~XDisplay() {
    XCloseDisplay(m_display);
}

} // namespace fenlo
