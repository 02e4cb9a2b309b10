#pragma once

#include "base/Deadline.h"
#include "platform/KeyEvents.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace fenlo {

class RemoteDesktopKeys;
class SessionKeyboard;
class SessionKeymap;
class UinputKeyboard;
class VirtualKeyboard;
class WaylandConnection;

/// What presses keys in a Wayland session.
enum class PostingRoad {
    virtualKeyboard, // the compositor's protocol for keyboards of programs: wlroots, Hyprland, labwc, niri
    remoteDesktop,   // the desktop's portal, which asks the user once: GNOME, KDE
    uinput,          // a keyboard of the kernel's, where the user may make one
    none             // the user presses the paste keys
};

/// Presses keys in a Wayland session, by the best road that the session offers.
///
/// Threads: as KeyEvents. A press waits for the compositor or the portal, a second at most.
/// Errors:  false when nothing could be pressed; the reason is in road().
class PasteKeys {
public:
    struct Options {
        /// Where the portal's permission is remembered; one use each, readable by its owner only.
        std::filesystem::path tokenFile;
        std::filesystem::path uinput = "/dev/uinput";
        /// Blocks until the user holds no modifier, at most until the given moment; false when one is still held.
        /// Empty where nothing tells what is held.
        std::function<bool(Deadline)> waitForModifiers;
    };

    struct Road {
        PostingRoad kind;
        std::string why; // one line: what was found, and what would be better
    };

    /// Looks for the roads; asks the user nothing yet.
    PasteKeys(WaylandConnection& connection, Options options);
    ~PasteKeys();

    /// The road that the next press takes.
    Road road() const;

    /// A dictation has begun: what has to be agreed on with the user is asked for now, and not when the paste takes the
    /// focus. Returns at once.
    void prepare();

    bool post(std::uint16_t keyCode, std::uint64_t flags, KeyDirection direction);
    bool type(const std::string& text);
    bool canPost() const;
    bool canDeliver(std::uint16_t keyCode) const;
    void releaseModifiers(double limit);

private:
    std::optional<SessionKeymap> keymap() const;
    bool press(std::uint16_t keyCode, std::uint64_t flags);
    bool release(std::uint16_t keyCode);

    const Options m_options;
    const std::unique_ptr<SessionKeyboard> m_session;
    const std::unique_ptr<VirtualKeyboard> m_virtualKeyboard;
    // Where there is no virtual keyboard.
    std::unique_ptr<RemoteDesktopKeys> m_remoteDesktop;
    std::unique_ptr<UinputKeyboard> m_uinput;
    std::map<std::uint16_t, std::function<bool()>> m_release; // of what is pressed, by its port code
};

} // namespace fenlo
