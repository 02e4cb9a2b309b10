#include "session/ContextReader.h"
#include "base/Text.h"
#include "support/FakeDesktop.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

std::string repeated(const std::string& piece, int count) {
    std::string out;
    for (int i = 0; i < count; ++i)
        out += piece;
    return out;
}

class Context : public ::testing::Test {
protected:
    ContextReader::Context read() { return ContextReader(workspace, accessibility, pasteboard, clock).read(); }

    test::FakeWorkspace workspace;
    test::FakeAccessibility accessibility;
    test::FakePasteboard pasteboard;
    test::VirtualClock clock;
};

} // namespace

TEST_F(Context, NothingThereIsEmpty) {
    const auto context = read();
    EXPECT_EQ(context.appName + context.appBundleId + context.existingText + context.selectedText +
                  context.clipboardText,
              "");
    EXPECT_FALSE(context.hasTextField);
}

TEST_F(Context, LongTextsKeepTheEndOfTheFieldAndTheStartOfTheClipboard) {
    accessibility.element = FocusedElement{"ab" + repeated("é", 1999), "AXTextArea", ""};
    pasteboard.content = repeated("👍🏽", 1999) + "ab";
    const auto context = read();
    EXPECT_EQ(context.existingText, "b" + repeated("é", 1999));
    EXPECT_EQ(context.clipboardText, repeated("👍🏽", 1999) + "a");

    accessibility.element->value = repeated("x", 2000);
    EXPECT_EQ(read().existingText.size(), 2000u);
}

TEST_F(Context, AStringValueOrATextRoleMakesATextField) {
    const auto isTextField = [&](std::optional<std::string> value, const char* role) {
        accessibility.element = FocusedElement{std::move(value), role, ""};
        return read().hasTextField;
    };
    EXPECT_TRUE(isTextField("", "AXTextField"));
    EXPECT_TRUE(isTextField("on", "AXButton"));
    EXPECT_TRUE(isTextField({}, "AXTextField"));
    EXPECT_TRUE(isTextField({}, "AXTextArea"));
    EXPECT_TRUE(isTextField({}, "AXComboBox"));
    EXPECT_FALSE(isTextField({}, "AXButton"));
    EXPECT_FALSE(isTextField({}, "axtextfield"));
}

TEST_F(Context, NamesAndSelectionComeAsTheyAre) {
    workspace.front = FrontApplication{"Mousepad", "org.xfce.mousepad"};
    accessibility.element = FocusedElement{"abc", "AXTextArea", repeated("s", 5000)};
    const auto context = read();
    EXPECT_EQ(context.appName, "Mousepad");
    EXPECT_EQ(context.appBundleId, "org.xfce.mousepad");
    EXPECT_EQ(context.selectedText.size(), 5000u);
}

TEST_F(Context, AWindowOfThisProgramIsNotAsked) {
    workspace.front = FrontApplication{"Fenlo", "fenlo"};
    workspace.front->isOwn = true;
    accessibility.element = FocusedElement{"abc", "AXTextArea", ""};
    EXPECT_EQ(read().appName, "Fenlo");
    EXPECT_TRUE(accessibility.limits.empty()) << "it cannot answer while it waits for itself";
}

TEST_F(Context, AllWaitsTogetherStayWithinTheLimit) {
    read();
    EXPECT_LE(accessibility.limits.at(0) + pasteboard.limits.at(0),
              ContextReader::timeLimit + accessibility.limits.at(0));
    EXPECT_LT(accessibility.limits.at(0), ContextReader::timeLimit);

    struct SlowAccessibility final : Accessibility {
        explicit SlowAccessibility(test::VirtualClock& c) : time(c) {}
        bool trusted() const override { return true; }
        void request() override {}
        std::optional<FocusedElement> focusedElement(double limit) override {
            time.advance(limit);
            return {};
        }
        test::VirtualClock& time;
    } slow(clock);
    const double before = clock.now();
    ContextReader(workspace, slow, pasteboard, clock).read();
    const double used = clock.now() - before;
    EXPECT_GT(pasteboard.limits.back(), 0.01) << "the clipboard is still asked";
    EXPECT_LE(used + pasteboard.limits.back(), ContextReader::timeLimit + 1e-9);
}
