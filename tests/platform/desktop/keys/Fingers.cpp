#include "platform/desktop/keys/Fingers.h"

#include <X11/Xatom.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>
#include <stdexcept>

namespace fenlo::test {

Fingers::Fingers() {
    int count = 0;
    XDeviceInfo* const devices = XListInputDevices(m_display->get(), &count);
    for (int i = 0; i < count; ++i)
        if (std::string(devices[i].name) == "Xvfb keyboard")
            m_keyboard = XOpenDevice(m_display->get(), devices[i].id);
    XFreeDeviceList(devices);
    if (!m_keyboard)
        throw std::runtime_error("the screen has no keyboard");
}

Fingers::~Fingers() {
    XCloseDevice(m_display->get(), m_keyboard);
}

void Fingers::touchKey(unsigned key, bool down) {
    XTestFakeDeviceKeyEvent(m_display->get(), m_keyboard, key, down, nullptr, 0, 0);
    XSync(m_display->get(), False);
}

void Fingers::unplug() {
    unsigned char enabled = 0;
    XIChangeProperty(m_display->get(), static_cast<int>(m_keyboard->device_id),
                     XInternAtom(m_display->get(), "Device Enabled", False), XA_INTEGER, 8, PropModeReplace, &enabled,
                     1);
    XSync(m_display->get(), False);
}

void Fingers::click(int x, int y, unsigned button) {
    XTestFakeMotionEvent(m_display->get(), 0, x, y, 0);
    XTestFakeButtonEvent(m_display->get(), button, True, 0);
    XTestFakeButtonEvent(m_display->get(), button, False, 0);
    XSync(m_display->get(), False);
}

void Fingers::touch(KeySym symbol, bool down) {
    touchKey(XKeysymToKeycode(m_display->get(), symbol), down);
}

} // namespace fenlo::test
