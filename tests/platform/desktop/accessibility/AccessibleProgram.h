#pragma once

#include "base/Guarded.h"
#include "platform/linux/desktop/DBusConnection.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fenlo::test {

/// A program that publishes its controls on the accessibility bus.
class AccessibleProgram {
public:
    struct Control {
        std::uint32_t role;
        std::vector<unsigned> states;
        std::optional<std::string> text; // in ASCII, so that a character is a byte
        std::pair<int, int> selection;
        std::vector<std::size_t> children; // places in the list of controls
    };

    /// The first control is the program itself, its children are the windows.
    explicit AccessibleProgram(std::vector<Control> controls);
    ~AccessibleProgram();

    void tellFocus(std::size_t control) { tell("Object", "StateChanged", control, "focused", 1); }
    void tellActivate(std::size_t window) { tell("Window", "Activate", window, "", 0); }
    void tellDeactivate(std::size_t window) { tell("Window", "Deactivate", window, "", 0); }

    /// From now on this question stays unanswered, by default every question.
    void hang(const std::string& question = everything) {
        m_unanswered.with([&](std::string& name) { name = question; });
    }
    /// The most characters that were asked for at once.
    int longestRequest() const { return m_longestRequest; }

private:
    static constexpr char everything[] = "*";

    static GDBusMessage* filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* self);
    void tell(const char* kind, const char* member, std::size_t control, const char* detail, int value);
    GVariant* answer(const std::string& member, GVariant* arguments, const Control& control);
    GVariant* reference(std::size_t control) const;

    Guarded<std::vector<Control>> m_controls;
    const GlibObject<GCancellable> m_cancel;
    Guarded<std::string> m_unanswered;
    std::atomic<int> m_longestRequest = 0;
    std::optional<DBusConnection> m_bus;
};

} // namespace fenlo::test
