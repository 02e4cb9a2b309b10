#include "account/LatestTask.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(LatestTask, RunsOnceMoreForAllWhoAskedMeanwhile) {
    test::ManualBackground background;
    int runs = 0;
    LatestTask* self = nullptr;
    LatestTask task(background, [&](std::stop_token) {
        if (++runs == 1) {
            self->ask();
            self->ask();
        }
    });
    self = &task;
    task.ask();
    task.ask();
    EXPECT_EQ(background.pending(), 1u);
    background.runAll();
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(background.pending(), 0u);
    task.ask();
    background.runAll();
    EXPECT_EQ(runs, 3);
}
