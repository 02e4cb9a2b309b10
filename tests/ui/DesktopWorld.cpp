// Gives the tests of this program a desktop of their own: a screen, a window manager, a session bus.

#include "platform/desktop/VirtualDesktop.h"
#include "ui/Application.h"
#include "ui/Screen.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>

namespace fenlo::test {

namespace {

class DesktopWorld final : public ::testing::Environment {
public:
    void SetUp() override {
        ::setenv("QT_QPA_PLATFORM", "xcb", 1);
        ::setenv("XDG_RUNTIME_DIR", ::getenv("HOME"), 1);
        m_desktop.emplace();
        m_bus.emplace();
        outputOf({"xsetroot", "-solid", QColor(screen::bareGround).name().toStdString()});
        m_application.emplace();
    }
    void TearDown() override {
        m_application.reset();
        m_bus.reset();
        m_desktop.reset();
    }

private:
    std::optional<VirtualDesktop> m_desktop;
    std::optional<VirtualBus> m_bus;
    std::optional<Application> m_application;
};

[[maybe_unused]] const auto* const world = ::testing::AddGlobalTestEnvironment(new DesktopWorld);

} // namespace

} // namespace fenlo::test
