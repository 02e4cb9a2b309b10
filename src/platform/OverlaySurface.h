#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace fenlo {

/// A picture for an overlay.
struct OverlayFrame {
    int width = 0, height = 0;         // of the overlay, in points
    double scale = 1;                  // pixels to a point
    int columns = 0, rows = 0;         // in pixels
    std::vector<std::uint32_t> pixels; // [rows, columns], ARGB of the machine's byte order, premultiplied
};

struct OverlayRectangle {
    int x, y, width, height; // points, from the overlay's top left corner
};

/// What the mouse does over an overlay.
struct OverlayPointer {
    enum class Kind { move, leave, down, up, scroll };
    Kind kind = Kind::move;
    double x = 0, y = 0;   // points, from the overlay's top left corner
    bool isPrimary = true; // the button: the left one
    double scroll = 0;     // points, downwards
};

enum class OverlayCursor { arrow, hand, text };

/// A place above all windows of the desktop, at the top of the screen in use and centred there. It never takes the
/// keyboard focus, and lets clicks through until it accepts the mouse. Destroying it takes it off the screen.
///
/// Threads: main thread only; callbacks too.
class OverlaySurface {
public:
    virtual ~OverlaySurface() = default;

    /// The pixels that the screen has to a point. A guess until the desktop has placed the overlay.
    virtual double scale() const = 0;
    /// Shows the picture in place of the one before, at the next moment when the screen is drawn.
    virtual void show(OverlayFrame frame) = 0;
    /// From now on the handler is told what the mouse does within these rectangles. None of them: clicks go through
    /// again.
    virtual void acceptMouse(std::vector<OverlayRectangle> region,
                             std::function<void(const OverlayPointer&)> onPointer) = 0;
    /// What the mouse looks like over it; an arrow at first.
    virtual void setCursor(OverlayCursor cursor) = 0;
};

/// Makes overlays.
///
/// Threads: main thread only.
class OverlaySurfaces {
public:
    virtual ~OverlaySurfaces() = default;

    /// An overlay so many points below the top edge of the screen, not visible before its first picture. `onScale` is
    /// called when scale() has changed.
    virtual std::unique_ptr<OverlaySurface> make(double distanceFromTop, std::function<void()> onScale) = 0;

    /// While the handle lives, a mouse-down anywhere but on the overlays calls the handler, and what lies there does
    /// not get it: where the desktop tells nobody of clicks on others, there is no other way to hear of one. The
    /// keyboard stays where it is.
    [[nodiscard]] virtual std::shared_ptr<void> catchMouse(std::function<void()> onMouseDown) = 0;
};

} // namespace fenlo
