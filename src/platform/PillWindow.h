#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace fenlo {

struct Colour {
    double red = 0, green = 0, blue = 0, alpha = 0; // 0 to 1
    bool operator==(const Colour&) const = default;
};

/// The fonts of the pill. In `text` all digits are of one width, so that a running clock stands still.
enum class PillFont { text, application, cancel, words };

/// What a pill shows, as shapes in points from its top left corner.
struct PillPicture {
    struct Oval {
        double x, y, diameter;
        Colour colour;
    };
    /// One line, centred vertically.
    struct Text {
        double x;
        std::string text;
        PillFont font;
        Colour colour;
    };
    struct Rule {
        double x, y, width, height;
        Colour colour;
    };
    std::vector<Oval> ovals;
    std::vector<Text> texts;
    std::vector<Rule> rules;
};

/// One pill on the screen: centred on the main screen at its fixed distance from the top edge, above the other
/// windows, on all desktops, without a shadow. It never takes the keyboard focus and lets clicks through to what lies
/// under it, until it accepts the mouse. Destroying it takes it off the screen at once.
///
/// Threads: main thread only.
/// Units:   points, whatever the scale of the screen.
class PillWindow {
public:
    virtual ~PillWindow() = default;

    virtual void setPicture(const PillPicture& picture) = 0;
    virtual void fadeIn(double seconds) = 0;
    /// Stays centred. With 0 seconds the width changes at once.
    virtual void setWidth(double width, double seconds) = 0;
    /// From now on a mouse-down inside calls the handler; the focus stays where it is.
    virtual void acceptMouse(std::function<void()> onMouseDown) = 0;
};

/// Makes pills and measures their texts.
///
/// Threads: main thread only.
class PillWindows {
public:
    virtual ~PillWindows() = default;

    /// A pill of this width that is not yet visible.
    virtual std::unique_ptr<PillWindow> make(double width) = 0;
    /// Fades the pill out and drops it; from now on it ignores the mouse.
    virtual void fadeOut(std::unique_ptr<PillWindow> pill, double seconds) = 0;
    virtual double textWidth(const std::string& text, PillFont font) const = 0;
};

} // namespace fenlo
