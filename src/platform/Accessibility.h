#pragma once

#include <optional>
#include <string>

namespace fenlo {

/// What the focused control of the front application tells of itself.
struct FocusedElement {
    std::optional<std::string> value; // its text; none when it has no text value
    std::string role;                 // "AXTextField", "AXTextArea", "AXComboBox", or another name
    std::string selectedText;
    bool isTerminal = false; // a terminal emulator, perhaps inside an editor
};

/// The desktop's accessibility service.
///
/// Threads: main thread.
/// Errors:  without the service, or without an application's answer, there is no element.
class Accessibility {
public:
    virtual ~Accessibility() = default;

    /// Whether the program may post keys into other programs.
    virtual bool trusted() const = 0;
    /// Asks for what is missing and announces assistive technology, so that applications publish their controls.
    virtual void request() = 0;
    /// Takes `limit` seconds at most. What the application does not tell in time stays empty; the rest is there.
    virtual std::optional<FocusedElement> focusedElement(double limit) = 0;
};

} // namespace fenlo
