#pragma once

class QRegion;
class QWindow;

/// What Qt does not offer on the X11 desktop. On other platforms the functions do nothing.
///
/// Threads: main thread.
namespace fenlo::x11 {

/// Whether translucent windows are shown as such. Platforms other than X11 always can.
bool hasCompositor();

/// Whether a panel embeds icons of the X11 system tray.
bool hasSystemTray();

/// Which part of the window is seen, or takes the mouse; in pixels of the screen.
void setVisibleRegion(QWindow& window, const QRegion& pixels);
void setInputRegion(QWindow& window, const QRegion& pixels);

/// From now on the application's native event filters see a change of the system tray's owner; returns the number of
/// that event, or 0 on another platform.
int watchSystemTray();

} // namespace fenlo::x11
