// What every accessibility port does, tried on the fake and on a real bus.

#include "platform/desktop/VirtualDesktop.h"
#include "platform/desktop/accessibility/AccessibleProgram.h"
#include "platform/linux/desktop/accessibility/AtspiAccessibility.h"
#include "support/FakeDesktop.h"
#include "support/FakeKeyEvents.h"

#include <atspi/atspi-constants.h>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::Eq;
using ::testing::Optional;

namespace {

/// A service under test, and a program in front with one text field.
class Rig {
public:
    virtual ~Rig() = default;
    virtual Accessibility& service() = 0;
    virtual void focusField() = 0;
    virtual void setTrusted(bool isTrusted) = 0;
};

class FakeRig final : public Rig {
public:
    Accessibility& service() override { return m_service; }
    void focusField() override { m_service.element = FocusedElement{"hello world", "AXTextField", "world"}; }
    void setTrusted(bool isTrusted) override { m_service.isTrusted = isTrusted; }

private:
    FakeAccessibility m_service;
};

class AtspiRig final : public Rig {
public:
    AtspiRig() {
        eventually([this] { return m_service.isAvailable(); });
    }

    Accessibility& service() override { return m_service; }
    void focusField() override { m_program.tellFocus(1); }
    void setTrusted(bool isTrusted) override { m_keys.postFails = !isTrusted; }

private:
    VirtualDesktop m_desktop;
    VirtualBus m_bus;
    FakeKeyEvents m_keys;
    AtspiAccessibility m_service{m_keys};
    AccessibleProgram m_program{{{ATSPI_ROLE_APPLICATION, {}, {}, {}, {}},
                                 {ATSPI_ROLE_TEXT, {ATSPI_STATE_SINGLE_LINE}, "hello world", {6, 11}, {}}}};
};

class AccessibilityContract : public ::testing::TestWithParam<std::unique_ptr<Rig> (*)()> {
protected:
    std::unique_ptr<Rig> rig = GetParam()();
    Accessibility& service = rig->service();
};

TEST_P(AccessibilityContract, TellsTheFocusedFieldOnceThereIsOne) {
    EXPECT_FALSE(service.focusedElement(0.2));
    rig->focusField();
    std::optional<FocusedElement> element;
    ASSERT_TRUE(eventually([&] { return (element = service.focusedElement(0.5)).has_value(); }));
    EXPECT_THAT(element->value, Optional(Eq("hello world")));
    EXPECT_EQ(element->role, "AXTextField");
    EXPECT_EQ(element->selectedText, "world");
}

TEST_P(AccessibilityContract, TrustIsTheAbilityToPostKeys) {
    for (const bool isTrusted : {true, false}) {
        rig->setTrusted(isTrusted);
        EXPECT_EQ(service.trusted(), isTrusted);
    }
}

INSTANTIATE_TEST_SUITE_P(Fake, AccessibilityContract,
                         ::testing::Values([]() -> std::unique_ptr<Rig> { return std::make_unique<FakeRig>(); }));
INSTANTIATE_TEST_SUITE_P(Atspi, AccessibilityContract,
                         ::testing::Values([]() -> std::unique_ptr<Rig> { return std::make_unique<AtspiRig>(); }));

} // namespace
