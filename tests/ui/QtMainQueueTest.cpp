#include "ui/QtMainQueue.h"
#include "support/LogCapture.h"
#include "ui/Application.h"

#include <QTimer>
#include <algorithm>
#include <future>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace fenlo;
using test::pumpUntil;

TEST(QtMainQueue, RunsWhatOtherThreadsPostInOrderOnTheMainThread) {
    QtMainQueue queue;
    std::vector<int> seen;
    std::jthread worker([&] {
        EXPECT_FALSE(queue.isMainThread());
        for (int i = 0; i < 1000; ++i)
            queue.post([&, i] {
                EXPECT_TRUE(queue.isMainThread());
                seen.push_back(i);
            });
        EXPECT_EQ(queue.call([&] { return seen.size(); }), 1000u) << "a call waits behind what was posted before";
        queue.quit();
    });
    EXPECT_EQ(queue.run(), 0);
    worker.join();
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST(QtMainQueue, EndsWorkersThatWaitForIt) {
    QtMainQueue queue;
    bool ended = false;
    std::jthread worker([&] {
        queue.quit();
        try {
            for (;;)
                queue.call([] {});
        } catch (const std::future_error& error) {
            ended = error.code() == std::future_errc::broken_promise;
        }
    });
    queue.run();
    worker.join();
    EXPECT_TRUE(ended);
    queue.post([] { FAIL() << "the loop has ended"; });
    test::pump();
}

TEST(QtMainQueue, TimersRunOnceOrAgainUntilTheyAreCancelled) {
    QtMainQueue queue;
    int once = 0, kept = 0, cancelled = 0, repeated = 0;
    Timer single = queue.postAfter(0.001, [&] { ++once; });
    queue.postAfter(0.001, [&] { ++kept; }).keep();
    queue.postAfter(0.001, [&] { ++cancelled; }).cancel();
    Timer repeating;
    repeating = queue.every(0.001, [&] {
        if (++repeated == 3)
            repeating.cancel(); // from within
    });
    Timer last = queue.postAfter(0.05, [&] { queue.quit(); });
    queue.run();
    EXPECT_EQ(once, 1);
    EXPECT_EQ(kept, 1);
    EXPECT_EQ(cancelled, 0);
    EXPECT_EQ(repeated, 3);
    single.cancel(); // long after
}

TEST(QtMainQueue, LongTimesAreMeasuredAsExactlyAsShortOnes) {
    QtMainQueue queue;
    const Timer timer = queue.postAfter(60, [] {});
    const auto* alarm = queue.findChild<QTimer*>();
    EXPECT_EQ(alarm->timerType(), Qt::PreciseTimer) << "Qt lets a coarse timer ring three seconds off";
    EXPECT_GT(alarm->interval(), 50'000);
}

TEST(QtMainQueue, ATimerMayOutliveTheQueue) {
    Timer timer;
    {
        QtMainQueue queue;
        timer = queue.every(0.001, [] {});
    }
    timer.cancel();
}

TEST(QtMainQueue, AnExceptionIsLoggedAndTheLoopGoesOn) {
    QtMainQueue queue;
    const test::LogCapture logged;
    bool reached = false;
    queue.post([] { throw std::runtime_error("broken"); });
    queue.post([&] { reached = true; });
    EXPECT_TRUE(pumpUntil([&] { return reached; }));
    EXPECT_TRUE(logged.contains("[Fenlo] ERROR: Main thread: broken"));
}
