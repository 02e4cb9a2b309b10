#include "ui/X11Desktop.h"

#include <QGuiApplication>
#include <QRegion>
#include <QWindow>
#include <vector>

// After Qt's headers: its macros clash with their names.
#include <X11/Xlib.h>
#include <X11/extensions/Xfixes.h>
#include <X11/extensions/shape.h>

namespace fenlo::x11 {

namespace {

Display* display() {
    const auto* native = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return native ? native->display() : nullptr;
}

/// The selection of this name for the default screen, such as "_NET_SYSTEM_TRAY_S0".
Atom screenSelection(Display* display, const char* prefix) {
    const QByteArray name = prefix + QByteArray::number(DefaultScreen(display));
    return XInternAtom(display, name.constData(), False);
}

bool isOwned(const char* prefix) {
    Display* const x = display();
    return XGetSelectionOwner(x, screenSelection(x, prefix)) != None;
}

void setRegion(QWindow& window, int kind, const QRegion& pixels) {
    Display* const x = display();
    if (!x)
        return;
    std::vector<XRectangle> rectangles;
    for (const QRect& r : pixels)
        rectangles.push_back({static_cast<short>(r.x()), static_cast<short>(r.y()),
                              static_cast<unsigned short>(r.width()), static_cast<unsigned short>(r.height())});
    XShapeCombineRectangles(x, window.winId(), kind, 0, 0, rectangles.data(), static_cast<int>(rectangles.size()),
                            ShapeSet, YXBanded);
    XFlush(x);
}

} // namespace

bool hasCompositor() {
    return !display() || isOwned("_NET_WM_CM_S");
}

bool hasSystemTray() {
    return display() && isOwned("_NET_SYSTEM_TRAY_S");
}

void setVisibleRegion(QWindow& window, const QRegion& pixels) {
    setRegion(window, ShapeBounding, pixels);
}

void setInputRegion(QWindow& window, const QRegion& pixels) {
    setRegion(window, ShapeInput, pixels);
}

int watchSystemTray() {
    Display* const x = display();
    int firstEvent = 0, firstError = 0;
    if (!x || !XFixesQueryExtension(x, &firstEvent, &firstError))
        return 0;
    XFixesSelectSelectionInput(x, DefaultRootWindow(x), screenSelection(x, "_NET_SYSTEM_TRAY_S"),
                               XFixesSetSelectionOwnerNotifyMask | XFixesSelectionWindowDestroyNotifyMask |
                                   XFixesSelectionClientCloseNotifyMask);
    XFlush(x);
    return firstEvent + XFixesSelectionNotify;
}

} // namespace fenlo::x11
