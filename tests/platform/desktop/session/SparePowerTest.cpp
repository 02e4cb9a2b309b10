#include "platform/linux/desktop/session/SparePower.h"
#include "base/Files.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;

namespace {

void plug(const std::filesystem::path& supply, const char* type, const char* status, const char* scope = nullptr) {
    std::filesystem::create_directories(supply);
    files::writeAtomically(supply / "type", std::string(type) + "\n");
    files::writeAtomically(supply / "status", std::string(status) + "\n");
    if (scope)
        files::writeAtomically(supply / "scope", std::string(scope) + "\n");
}

} // namespace

TEST(SparePower, ABatteryOfTheMachinesOwnIsSpared) {
    if (std::thread::hardware_concurrency() < 2)
        GTEST_SKIP() << "there is one core";
    const TemporaryFolder supplies;
    EXPECT_TRUE(hasSparePower(supplies.path / "missing")) << "a desktop machine";
    plug(supplies.path / "AC", "Mains", "");
    plug(supplies.path / "hidpp_battery_0", "Battery", "Discharging", "Device");
    EXPECT_TRUE(hasSparePower(supplies.path)) << "a mouse's";
    plug(supplies.path / "BAT0", "Battery", "Charging");
    EXPECT_TRUE(hasSparePower(supplies.path));
    plug(supplies.path / "BAT1", "Battery", "Discharging");
    EXPECT_FALSE(hasSparePower(supplies.path));
}
