#include "WhisperEngine/runtime/ThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace fenlo::whisper;

TEST(ThreadPool, RunsEachTaskOnce_ForManyCallersAtOnce) {
    for (const int threads : {1, 2, 5}) {
        ThreadPool pool(threads);
        EXPECT_EQ(pool.size(), threads);
        std::vector<std::jthread> callers;
        std::atomic<int> faults = 0;
        for (int caller = 0; caller < 4; ++caller)
            callers.emplace_back([&] {
                for (int round = 0; round < 200; ++round) {
                    std::vector<int> times(round % 40,
                                           0); // one for each call, so that a worker that comes late is found out
                    pool.run(static_cast<int>(times.size()), [&](int task) { ++times[task]; });
                    faults += static_cast<int>(times.size()) != std::accumulate(times.begin(), times.end(), 0);
                }
            });
        callers.clear();
        EXPECT_EQ(faults, 0);
    }
}

TEST(ThreadPool, ATaskMayShareItsOwnWork) {
    ThreadPool pool(3);
    std::atomic<int> leaves = 0;
    pool.run(8, [&](int) { pool.run(8, [&](int) { ++leaves; }); });
    EXPECT_EQ(leaves, 64);
}

TEST(ThreadPool, ACallerIsNotHeldUpByAnother) {
    // Both workers and the first caller wait in their tasks until the second caller has finished.
    ThreadPool pool(3);
    std::atomic<int> standing = 0;
    std::atomic<bool> through = false;
    std::jthread first([&] {
        pool.run(3, [&](int) {
            ++standing;
            standing.notify_all();
            through.wait(false);
        });
    });
    for (int seen = standing; seen < 3; seen = standing)
        standing.wait(seen);
    int done = 0;
    pool.run(10, [&](int) { ++done; });
    EXPECT_EQ(done, 10);
    through = true;
    through.notify_all();
}

TEST(ThreadPool, AnErrorReachesTheCallerOnce_WhenNoTaskRunsAnyMore) {
    for (const int threads : {1, 2, 5}) {
        ThreadPool pool(threads);
        std::atomic<int> running = 0;
        std::barrier together(threads); // all fail at once, workers and the caller
        for (int round = 0; round < 200; ++round) {
            const auto fail = [&](int task) {
                ++running;
                together.arrive_and_wait();
                --running;
                throw std::runtime_error("task " + std::to_string(task));
            };
            EXPECT_THROW(pool.run(threads, fail), std::runtime_error);
            EXPECT_EQ(running, 0);
        }
        int done = 0;
        pool.run(1, [&](int) { ++done; });
        EXPECT_EQ(done, 1);
    }
    ThreadPool pool(3); // one fails while others work
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    EXPECT_THROW(pool.run(1000,
                          [&](int task) {
                              ++begun;
                              if (task == 20)
                                  throw std::bad_alloc();
                              ++ended;
                          }),
                 std::bad_alloc);
    EXPECT_EQ(ended, begun - 1);
}
