#include "app/TriggerDoor.h"

#include "app/ExitStatus.h"
#include "app/TriggerOrder.h"
#include "platform/PumpedQueue.h"
#include "platform/linux/control/ControlFile.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeKeyEvents.h"
#include "support/TemporaryFolder.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

using namespace fenlo;

namespace {

class TriggerDoorTest : public ::testing::Test {
protected:
    void listen(TriggerOutcome outcome) {
        keys.listen({.onFlagsChanged = {}, .onKeyDown = {}, .onTrigger = [this, outcome](Trigger trigger) {
                         seen.push_back(trigger);
                         return outcome;
                     }});
    }
    /// As `fenlo trigger` does it, in a process of its own; its exit status and what it complains of.
    std::pair<int, std::string> order(const std::string& word) {
        std::atomic<int> status = -1;
        ::testing::internal::CaptureStderr();
        const std::jthread process([&] { status = orderTrigger(word); });
        queue.runUntil([&] { return status >= 0; });
        return {status, ::testing::internal::GetCapturedStderr()};
    }

    const test::TemporaryFolder folder;
    const test::EnvironmentVariable runtime{"XDG_RUNTIME_DIR", folder.path.c_str()};
    test::PumpedQueue queue;
    test::FakeKeyEvents keys;
    std::vector<Trigger> seen;
};

} // namespace

TEST_F(TriggerDoorTest, EachWordReachesTheListener) {
    const TriggerDoor door(keys, queue, controlFile());
    listen(TriggerOutcome::done);
    std::vector<Trigger> expected;
    for (const NamedTrigger& each : triggers) {
        EXPECT_EQ(order(std::string(each.name)).first, exitStatus::ok);
        expected.push_back(each.trigger);
    }
    EXPECT_EQ(seen, expected);
    seen.clear();
    order("press");
    order("press"); // a desktop that repeats it while the keys are held
    order("release");
    order("press");
    order("cancel");
    order("press");
    EXPECT_EQ(seen, (std::vector{Trigger::press, Trigger::release, Trigger::press, Trigger::cancel, Trigger::press}));
}

TEST_F(TriggerDoorTest, WhatCannotBeDoneIsSaidInALineWithItsRemedy) {
    using ::testing::HasSubstr;
    EXPECT_THAT(order("press").second, HasSubstr("not running; start it"));
    const TriggerDoor door(keys, queue, controlFile());
    EXPECT_THAT(order("press").second, HasSubstr("finish its first start"));
    listen(TriggerOutcome::nothingUnderWay);
    const auto [status, complaint] = order("cancel");
    EXPECT_EQ(status, exitStatus::failed);
    EXPECT_EQ(complaint, "fenlo: nothing is being dictated; begin with `fenlo trigger press` or `toggle`\n");
    EXPECT_EQ(order("shout").first, exitStatus::usage);
}
