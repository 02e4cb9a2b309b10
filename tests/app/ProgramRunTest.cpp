#include "app/ProgramRun.h"
#include "base/Background.h"

#include <future>
#include <gmock/gmock.h>
#include <stdexcept>

using namespace fenlo;
using testing::ElementsAre;

namespace {

/// The steps that are taken, in their order, with a worker that waits for something until it is released.
struct Program : ::testing::Test {
    void run(bool launchThrows) {
        ThreadBackground background;
        ProgramSteps steps;
        steps.launch = [&] {
            std::promise<void> started;
            background.run([&](std::stop_token stop) {
                started.set_value();
                released.get_future().wait(); // as a worker that waits for the main thread
                taken.push_back(stop.stop_requested() ? "worker ends" : "worker goes on");
            });
            started.get_future().wait();
            taken.push_back("launch");
            if (launchThrows)
                throw std::runtime_error("no");
        };
        steps.loop = [&] { taken.push_back("loop"); };
        steps.terminate = [&] { taken.push_back("terminate"); };
        steps.release = [&] {
            taken.push_back("release");
            released.set_value();
        };
        runProgram(steps, background);
    }

    std::promise<void> released;
    std::vector<std::string> taken;
};

} // namespace

TEST_F(Program, WorkersEndBeforeTheProgramDoes) {
    run(false);
    EXPECT_THAT(taken, ElementsAre("launch", "loop", "terminate", "release", "worker ends"));
}

TEST_F(Program, WorkersEndWhenTheLaunchFails) {
    EXPECT_THROW(run(true), std::runtime_error);
    EXPECT_THAT(taken, ElementsAre("launch", "release", "worker ends"));
}
