#pragma once

#include "platform/Trigger.h"

#include <cstdint>
#include <functional>
#include <string>

namespace fenlo {

enum class KeyDirection { down, up };

/// A modifier went down or up: the flags that are active now, and the key that changed.
struct ModifierChange {
    std::uint64_t flags;   // of namespace mask
    std::uint16_t keyCode; // of namespace key
};

struct ScreenPoint {
    int x, y; // pixels from the top left corner of the desktop
};

/// The keyboard of the whole desktop: listens without ever grabbing or swallowing, and posts keys of its own.
/// Keys that it posted itself are never reported.
///
/// Threads: call on the main thread; all callbacks arrive on the main thread.
/// Errors:  a stream that is not available is false in Sources; the others work.
class KeyEvents {
public:
    struct Listener {
        std::function<void(ModifierChange)> onFlagsChanged;
        std::function<void(std::uint16_t keyCode)> onKeyDown;  // no modifiers, no auto-repeat
        std::function<TriggerOutcome(Trigger)> onTrigger = {}; // a shortcut in place of the key
    };

    /// Which of the streams are available: flag changes in other programs and in our own windows, and key-downs.
    struct Sources {
        bool global = false;
        bool local = false;
        bool eventTap = false;
    };

    virtual ~KeyEvents() = default;

    /// Replaces an earlier listener. When the system loses the release of a modifier, it is reported late.
    virtual Sources listen(Listener listener) = 0;
    virtual void stopListening() = 0;

    /// Hands the listener a trigger that came in from outside, such as a command's.
    virtual TriggerOutcome trigger(Trigger trigger) = 0;

    /// Reports each mouse-down anywhere on the desktop; an empty handler ends it.
    virtual void watchMouseDown(std::function<void(ScreenPoint)> handler) = 0;

    /// Posts one key with exactly these flags: with `down` the modifiers go down first, with `up` they go up last.
    /// Letters are found through the current keyboard layout; where it has no Latin letters, the editing shortcuts are
    /// posted in their forms without letters. Without a key for it, returns false and posts nothing.
    virtual bool post(std::uint16_t keyCode, std::uint64_t flags, KeyDirection direction) = 0;

    /// Types the text key by key in the current layout. When the layout lacks a key for a character, or the text has a
    /// line break, returns false and types nothing. Call after releaseModifiers().
    virtual bool type(const std::string& text) = 0;

    /// Waits until the user holds no modifier any more, at most `limit` seconds; then lifts those still held, without
    /// pressing them again. Blocks.
    virtual void releaseModifiers(double limit) = 0;

    /// A dictation has begun, and keys will be posted: what the user has to agree to is asked for now, and not when
    /// the question would take the focus from the text. Returns at once.
    virtual void prepareToPost() {}

    /// Whether keys can be posted at all.
    virtual bool canPost() const = 0;

    /// Whether this desktop can deliver the key (some keyboards keep Fn to themselves).
    virtual bool canDeliver(std::uint16_t keyCode) const = 0;

    /// What the user holds where no key is heard, in words that follow "Hold", such as "Ctrl+Alt+D"; empty where the
    /// key of the settings is heard.
    virtual std::string hotkeySubstitute() const { return {}; }
};

} // namespace fenlo
