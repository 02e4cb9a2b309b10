// Gives the tests of this program an application that needs no screen.

#include "ui/Application.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>

namespace fenlo::test {

namespace {

class OffscreenWorld final : public ::testing::Environment {
public:
    void SetUp() override {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        ::setenv("XDG_RUNTIME_DIR", ::getenv("HOME"), 1);
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
        m_application.emplace();
    }
    void TearDown() override { m_application.reset(); }

private:
    std::optional<Application> m_application;
};

[[maybe_unused]] const auto* const world = ::testing::AddGlobalTestEnvironment(new OffscreenWorld);

} // namespace

} // namespace fenlo::test
