// Keys and clipboard together, into real programs.

#include <gmock/gmock.h> // before the macros of X11

#include "base/Files.h"
#include "platform/KeyCodes.h"
#include "platform/PumpedQueue.h"
#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/XDisplay.h"
#include "platform/linux/desktop/accessibility/AtspiAccessibility.h"
#include "platform/linux/desktop/clipboard/ServedPasteboard.h"
#include "platform/linux/desktop/clipboard/X11Selections.h"
#include "platform/linux/desktop/keys/X11KeyEvents.h"
#include "platform/linux/desktop/session/ActiveWindow.h"
#include "platform/linux/desktop/session/DesktopWorkspace.h"

#include <X11/XKBlib.h>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class PasteIntoProgramsTest : public ::testing::Test {
protected:
    /// The way an insertion pastes.
    void paste(const std::string& text, std::uint16_t keyCode, std::uint64_t flags) {
        pasteboard.set(text, {.transient = true, .primary = keyCode == key::insert || !keys.canDeliver(key::v)});
        EXPECT_TRUE(keys.post(keyCode, flags, KeyDirection::down));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_TRUE(keys.post(keyCode, flags, KeyDirection::up));
    }
    bool waitForFront() {
        return eventually([&] { return workspace.frontApplication().has_value(); }, 20);
    }

    VirtualDesktop desktop;
    VirtualBus bus;
    PumpedQueue queue;
    X11KeyEvents keys{queue};
    ServedPasteboard pasteboard{X11Selections::open()};
    AtspiAccessibility accessibility{keys};
    DesktopWorkspace workspace{queue, activeWindowOfX11()};
};

TEST_F(PasteIntoProgramsTest, EditorGetsTypedTextInEveryLayoutThatHasTheCharacters) {
    const ChildProcess editor({"mousepad", "--disable-server"});
    ASSERT_TRUE(waitForFront());
    std::optional<FocusedElement> element;
    ASSERT_TRUE(eventually([&] { return (element = accessibility.focusedElement(0.5)) && element->value; }, 20));
    std::string expected;
    for (const auto& [layout, text, isTypeable] :
         {std::tuple("us", "Plain Text, (typed)! ", true), std::tuple("de", "Größe: 5 € {ÄÖÜ} ", true),
          std::tuple("cz", "můj čaj ", true), std::tuple("ru", "Привет, мир. ", true), std::tuple("us", "naïve", false),
          std::tuple("us", "two\nlines", false)}) {
        outputOf({"setxkbmap", "-layout", layout});
        EXPECT_EQ(keys.type(text), isTypeable) << text;
        expected += isTypeable ? text : "";
        EXPECT_TRUE(eventually([&] {
            return (element = accessibility.focusedElement(0.5)) && element->value == expected;
        })) << layout
            << ": " << element.value_or(FocusedElement{}).value.value_or("nothing");
    }
    outputOf({"xdotool", "key", "ctrl+a"});
    EXPECT_TRUE(eventually([&] {
        return (element = accessibility.focusedElement(0.5)) && element->selectedText == expected;
    })) << "what is selected in a real program";
}

TEST_F(PasteIntoProgramsTest, TerminalGetsTheTextUnderALayoutWithoutLatinLetters) {
    const auto typed = files::temporaryFile("typed-", ".txt");
    const ChildProcess terminal(
        {"lxterminal", "--no-remote", "-e", "sh -c 'stty -icanon; exec cat > " + typed.string() + "'"});
    ASSERT_TRUE(waitForFront());
    EXPECT_EQ(workspace.frontApplication()->paste, PasteChord::controlShiftV);
    ASSERT_TRUE(eventually([&] { return files::read(typed).has_value(); }));
    outputOf({"setxkbmap", "-layout", "ru"});
    paste("word in a terminal", key::v, mask::command | mask::shift);
    EXPECT_TRUE(eventually([&] { return files::read(typed) == "word in a terminal"; }, 20));
}

} // namespace
