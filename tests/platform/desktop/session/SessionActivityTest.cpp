#include "platform/linux/desktop/session/SessionActivity.h"

#include "platform/desktop/session/LoginManager.h"

#include <atomic>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

TEST(SessionActivity, TellsWhoseSessionIsInFrontAtTheStartAndAtEachChange) {
    LoginManager manager;
    manager.setActive(false);
    enum { unknown, away, inFront };
    std::atomic<int> state = unknown;
    const SessionActivity activity([&](bool isActive) { state = isActive ? inFront : away; });
    EXPECT_TRUE(eventually([&] { return state == away; }));
    manager.setActive(true);
    EXPECT_TRUE(eventually([&] { return state == inFront; }));
    manager.setActive(false);
    EXPECT_TRUE(eventually([&] { return state == away; }));
}

} // namespace
