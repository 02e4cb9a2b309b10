#pragma once

#include "platform/KeyEvents.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace fenlo {

struct TextPart {
    enum class Kind { plain, link };
    Kind kind;
    std::string text; // of a link, its address
    bool operator==(const TextPart&) const = default;
};

struct ResultCardContent {
    std::vector<TextPart> parts;
    std::function<void()> onCopy;
    std::function<void()> onDismiss;
    std::function<void(const std::string& address)> onLink;
};

/// One card with a text to read: links in it, a copy button, a dismiss button, and a shadow. Placed as the pill is. It
/// takes the mouse but never the keyboard focus. Destroying it takes it off the screen at once.
///
/// Threads: main thread only; the closures of the content are called there, never from within one of these operations.
class ResultCard {
public:
    virtual ~ResultCard() = default;

    virtual void fadeIn(double seconds) = 0;
    /// The copy button tells that the text was copied.
    virtual void showCopied() = 0;
    virtual bool contains(ScreenPoint point) const = 0;
};

/// Makes cards and measures their texts.
///
/// Threads: main thread only.
/// Units:   points, whatever the scale of the screen.
class ResultCards {
public:
    virtual ~ResultCards() = default;

    virtual std::unique_ptr<ResultCard> make(ResultCardContent content, double width, double height) = 0;
    /// Fades the card out and drops it; from now on it ignores the mouse.
    virtual void fadeOut(std::unique_ptr<ResultCard> card, double seconds) = 0;
    /// The height of the text when broken into lines of this width, at most `limit`.
    virtual double textHeight(const std::string& text, double width, double limit) const = 0;
};

} // namespace fenlo
