#include "platform/linux/desktop/accessibility/AtspiAccessibility.h"

#include "platform/desktop/VirtualDesktop.h"
#include "platform/desktop/accessibility/AccessibleProgram.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeKeyEvents.h"
#include "support/LogCapture.h"

#include <atspi/atspi-constants.h>
#include <chrono>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::EndsWith;
using ::testing::Eq;
using ::testing::Optional;

namespace {

using Control = AccessibleProgram::Control;

const Control application{ATSPI_ROLE_APPLICATION, {}, {}, {}, {1}};

double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

class AtspiAccessibilityTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(eventually([&] { return service.isAvailable(); }));
    }
    FocusedElement read() {
        std::optional<FocusedElement> element;
        EXPECT_TRUE(eventually([&] { return (element = service.focusedElement(0.5)).has_value(); }));
        return element.value_or(FocusedElement{});
    }
    FocusedElement readFocused(Control control) {
        AccessibleProgram program({application, std::move(control)});
        program.tellFocus(1);
        return read();
    }

    VirtualDesktop desktop;
    VirtualBus bus;
    FakeKeyEvents keys;
    AtspiAccessibility service{keys};
};

TEST_F(AtspiAccessibilityTest, RolesHaveThePortsNames) {
    const std::tuple<std::uint32_t, std::vector<unsigned>, const char*> cases[] = {
        {ATSPI_ROLE_TEXT, {ATSPI_STATE_MULTI_LINE}, "AXTextArea"},
        {ATSPI_ROLE_TEXT, {ATSPI_STATE_SINGLE_LINE}, "AXTextField"},
        {ATSPI_ROLE_ENTRY, {}, "AXTextField"},
        {ATSPI_ROLE_COMBO_BOX, {}, "AXComboBox"},
        {ATSPI_ROLE_TERMINAL, {}, "AXTextArea"},
        {ATSPI_ROLE_DOCUMENT_WEB, {ATSPI_STATE_EDITABLE}, "AXTextArea"},
        {ATSPI_ROLE_PARAGRAPH, {ATSPI_STATE_EDITABLE}, "AXTextArea"},
    };
    for (const auto& [role, states, name] : cases) {
        const auto element = readFocused({role, states, "words", {}, {}});
        EXPECT_EQ(element.role, name) << role;
        EXPECT_EQ(element.isTerminal, role == ATSPI_ROLE_TERMINAL) << role;
        EXPECT_THAT(element.value, Optional(Eq("words"))) << role;
    }
}

TEST_F(AtspiAccessibilityTest, ControlThatTakesNoText_HasNoValueButASelection) {
    const auto page = readFocused({ATSPI_ROLE_DOCUMENT_WEB, {}, "read me", {0, 4}, {}});
    EXPECT_EQ(page.value, std::nullopt);
    EXPECT_EQ(page.selectedText, "read");
    const auto button = readFocused({ATSPI_ROLE_PUSH_BUTTON, {}, {}, {}, {}});
    EXPECT_EQ(button.role, "push button");
    EXPECT_EQ(button.value, std::nullopt);
}

TEST_F(AtspiAccessibilityTest, PasswordIsNeverRead) {
    AccessibleProgram program({application, {ATSPI_ROLE_PASSWORD_TEXT, {ATSPI_STATE_EDITABLE}, "hunter2", {0, 7}, {}}});
    program.tellFocus(1);
    const auto element = read();
    EXPECT_EQ(element.role, "AXTextField");
    EXPECT_EQ(element.value, std::nullopt);
    EXPECT_EQ(element.selectedText, "");
    EXPECT_EQ(program.longestRequest(), 0);
}

TEST_F(AtspiAccessibilityTest, LongText_OnlyItsEndIsFetched) {
    const std::string document = std::string(10'000'000, 'a') + "the end";
    AccessibleProgram program({application, {ATSPI_ROLE_TEXT, {}, document, {}, {}}});
    program.tellFocus(1);
    EXPECT_THAT(read().value, Optional(EndsWith("aaa"
                                                "the end")));
    EXPECT_LE(program.longestRequest(), 4000);
}

TEST_F(AtspiAccessibilityTest, MarksOfEmbeddedObjectsAreLeftOut) {
    EXPECT_THAT(readFocused({ATSPI_ROLE_ENTRY, {}, "\uFFFC", {}, {}}).value, Optional(Eq("")));
}

TEST_F(AtspiAccessibilityTest, FocusFromBeforeTheStartIsSearchedInTheActiveWindow) {
    const Control otherWindow{ATSPI_ROLE_FRAME, {}, {}, {}, {}};
    AccessibleProgram program({{ATSPI_ROLE_APPLICATION, {}, {}, {}, {1, 2}},
                               otherWindow,
                               {ATSPI_ROLE_FRAME, {ATSPI_STATE_ACTIVE}, {}, {}, {3, 4}},
                               {ATSPI_ROLE_PUSH_BUTTON, {}, {}, {}, {}},
                               {ATSPI_ROLE_PANEL, {}, {}, {}, {5}},
                               {ATSPI_ROLE_ENTRY, {ATSPI_STATE_FOCUSED}, "found", {}, {}}});
    EXPECT_THAT(read().value, Optional(Eq("found")));
}

TEST_F(AtspiAccessibilityTest, FocusEndsWithItsWindowAndItsProgram) {
    {
        AccessibleProgram program(
            {application, {ATSPI_ROLE_FRAME, {}, {}, {}, {2}}, {ATSPI_ROLE_ENTRY, {}, "old", {}, {}}});
        program.tellActivate(1);
        program.tellFocus(2);
        EXPECT_THAT(read().value, Optional(Eq("old")));
        // A window without controls comes to the front.
        program.tellDeactivate(1);
        EXPECT_TRUE(eventually([&] { return !service.focusedElement(0.5); }));
        program.tellFocus(2);
        EXPECT_THAT(read().value, Optional(Eq("old")));
    }
    EXPECT_LT(secondsOf([&] { EXPECT_FALSE(service.focusedElement(1)); }), 0.5);
}

TEST_F(AtspiAccessibilityTest, ProgramThatHangsCostsTheLimitEachTime) {
    AccessibleProgram program({application, {ATSPI_ROLE_ENTRY, {}, "text", {}, {}}});
    program.tellFocus(1);
    EXPECT_EQ(read().role, "AXTextField");
    program.hang();
    for (int i = 0; i < 3; ++i)
        EXPECT_LT(secondsOf([&] { EXPECT_FALSE(service.focusedElement(0.15)); }), 0.25);
}

TEST_F(AtspiAccessibilityTest, LateValue_LeavesTheOthersThere) {
    AccessibleProgram program({application, {ATSPI_ROLE_TEXT, {}, "all of it", {4, 6}, {}}});
    program.tellFocus(1);
    EXPECT_EQ(read().selectedText, "of");
    const auto readWithout = [&](const char* question) {
        program.hang(question);
        return read();
    };
    const auto withoutValue = readWithout("Get"); // of the text's length
    EXPECT_EQ(withoutValue.role, "AXTextArea");
    EXPECT_EQ(withoutValue.value, std::nullopt);
    EXPECT_EQ(withoutValue.selectedText, "of");
    const auto withoutSelection = readWithout("GetSelection");
    EXPECT_THAT(withoutSelection.value, Optional(Eq("all of it")));
    EXPECT_EQ(withoutSelection.selectedText, "");
    EXPECT_EQ(readWithout("GetInterfaces").role, "AXTextArea");
}

TEST_F(AtspiAccessibilityTest, RequestAnnouncesAssistiveTechnology) {
    service.request();
    EXPECT_TRUE(eventually([] {
        return outputOf({"dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
                         "org.freedesktop.DBus.Properties.Get", "string:org.a11y.Status", "string:IsEnabled"})
                   .find("boolean true") != std::string::npos;
    }));
}

TEST(AtspiAccessibilityWithoutBus, HasNoElementAndLogsTheReasonOnce) {
    const EnvironmentVariable noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    const LogCapture log;
    FakeKeyEvents keys;
    AtspiAccessibility service(keys);
    EXPECT_TRUE(eventually([&] { return log.containsPrefix("[Fenlo] Accessibility bus not available: "); }));
    EXPECT_LT(secondsOf([&] { EXPECT_FALSE(service.focusedElement(1)); }), 0.5);
    service.request();
    EXPECT_FALSE(service.focusedElement(1));
    EXPECT_FALSE(service.isAvailable());
    EXPECT_EQ(log.lines().size(), 1U);
}

} // namespace
