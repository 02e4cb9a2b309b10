#pragma once

#include "platform/Pasteboard.h"
#include "platform/desktop/VirtualDesktop.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace fenlo::test {

using Forms = std::map<std::string, std::string>;

/// A desktop with another program that copies.
class ClipboardWorld {
public:
    virtual ~ClipboardWorld() = default;
    virtual Pasteboard& pasteboard() = 0;
    virtual void copy(std::optional<std::string> text, Forms forms = {}) = 0;
    /// Copies; the program answers only after answerNow().
    virtual void copyAndHang(const std::string& text) = 0;
    virtual void answerNow() = 0;
    /// What any program finds on the clipboard.
    virtual std::string form(const std::string& name) = 0;
};

/// What every clipboard port does, tried on the fake and on real desktops.
class PasteboardContract : public ::testing::TestWithParam<std::unique_ptr<ClipboardWorld> (*)()> {
protected:
    std::optional<std::string> text() { return pasteboard.string(1).text; }
    bool textBecomes(const std::string& expected) {
        return eventually([&] { return text() == expected; });
    }

    std::unique_ptr<ClipboardWorld> world = GetParam()();
    Pasteboard& pasteboard = world->pasteboard();
};

template <typename World>
std::unique_ptr<ClipboardWorld> makeClipboardWorld() {
    return std::make_unique<World>();
}

} // namespace fenlo::test
