#include "base/Background.h"
#include "base/DueTimers.h"
#include "base/Lifetime.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "support/WaitUntil.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace fenlo;
using namespace fenlo::test;

TEST(RunLoop, RunsPostedTasksInOrderAndTimersWhenDue) {
    RunLoop loop;
    std::vector<std::string> order;
    Timer late = loop.postAfter(0.02, [&] {
        order.push_back("late");
        loop.quit();
    });
    Timer soon = loop.postAfter(0.01, [&] { order.push_back("soon"); });
    Timer dropped = loop.postAfter(0.015, [&] { order.push_back("dropped"); });
    loop.post([&] {
        order.push_back("first");
        dropped.cancel();
    });
    loop.post([&] { order.push_back("second"); });
    loop.run();
    EXPECT_EQ(order, (std::vector<std::string>{"first", "second", "soon", "late"}));
}

TEST(DueTimers, ARepeatingTimerThatRunsLateKeepsToItsBeat) {
    DueTimers timers;
    int runs = 0;
    Timer beat = timers.every(3, 3, [&] { ++runs; });
    for (const double late : {3.15, 6.15, 9.15})
        EXPECT_TRUE(timers.runNext(late));
    EXPECT_EQ(timers.nextDue(), 12.0) << "and not 5 % later each time";
    EXPECT_TRUE(timers.runNext(100)); // the machine slept
    EXPECT_FALSE(timers.runNext(100)) << "what was missed is not made up for";
    EXPECT_EQ(timers.nextDue(), 103.0);
    EXPECT_EQ(runs, 4);
}

TEST(DueTimers, ARepeatingTimerMayCancelItself) {
    DueTimers timers;
    Timer timer;
    timer = timers.every(1, 1, [&] { timer.cancel(); });
    EXPECT_TRUE(timers.runNext(1));
    EXPECT_FALSE(timers.nextDue());
}

TEST(DueTimers, ACancelledTaskIsReleasedAtOnce) {
    DueTimers timers;
    const auto held = std::make_shared<int>();
    Timer first = timers.once(1, [held] {});
    Timer second = timers.once(2, [held] {});
    first.cancel();
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_EQ(timers.nextDue(), 2.0);
}

TEST(RunLoop, CallReturnsTheResultAndTheException) {
    RunLoop loop;
    ThreadBackground background;
    int result = 0;
    std::string error;
    background.run([&](std::stop_token) {
        result = loop.call([&] { return loop.isMainThread() ? 42 : 0; });
        try {
            loop.call([]() -> int { throw std::runtime_error("refused"); });
        } catch (const std::runtime_error& caught) {
            error = caught.what();
        }
        loop.quit();
    });
    loop.run();
    background.stop();
    EXPECT_EQ(result, 42);
    EXPECT_EQ(error, "refused");
}

TEST(Background, AWorkerWaitingForAnEndedMainThreadIsFreed) {
    RunLoop loop;
    ThreadBackground background;
    std::atomic<bool> waiting = false;
    background.run([&](std::stop_token) {
        waiting = true;
        loop.call([] {});
    });
    ASSERT_TRUE(waitUntil(60, [&] { return waiting.load(); }));
    loop.quit();
    loop.run();
    background.stop(); // would hang if the call were not freed
}

TEST(Background, StopReachesRunningTasksAndDropsLaterOnes) {
    ThreadBackground background;
    std::atomic<bool> started = false, stopped = false, late = false;
    background.run([&](std::stop_token stop) {
        started = true;
        while (!stop.stop_requested())
            std::this_thread::yield();
        stopped = true;
    });
    background.run([](std::stop_token) { throw std::runtime_error("logged, and no more"); });
    ASSERT_TRUE(waitUntil(60, [&] { return started.load(); }));
    background.stop();
    EXPECT_TRUE(stopped);
    background.run([&](std::stop_token) { late = true; });
    background.stop();
    EXPECT_FALSE(late);
}

TEST(Lifetime, BoundTasksDieWithTheirOwner) {
    int calls = 0;
    std::function<void(int)> task;
    {
        Lifetime lifetime;
        task = lifetime.bind([&](int by) { calls += by; });
        task(2);
    }
    task(5);
    EXPECT_EQ(calls, 2);
}

TEST(NotificationCenter, DeliversByNameUntilTheObservationEnds) {
    NotificationCenter centre;
    std::vector<std::string> seen;
    auto first =
        centre.observe(notification::hotkeyChanged, [&](const auto& key) { seen.push_back("1" + key.value_or("-")); });
    NotificationCenter::Observation second;
    second = centre.observe(notification::hotkeyChanged, [&](const auto&) {
        seen.push_back("2");
        second.reset(); // an observer may end itself
    });
    centre.post(notification::hotkeyChanged, "fn");
    centre.post(notification::hotkeyPause);
    centre.post(notification::hotkeyChanged);
    first.reset();
    centre.post(notification::hotkeyChanged);
    EXPECT_EQ(seen, (std::vector<std::string>{"1fn", "2", "1-"}));
}
