#include "speech/EarlyAnswers.h"

#include <gtest/gtest.h>
#include <latch>
#include <semaphore>
#include <string>
#include <thread>

using namespace fenlo;

namespace {

struct Cancelled {};

/// Tells when it is compared: somebody looks whether it is under way.
struct Question {
    std::counting_semaphore<>* compared = nullptr;
    bool operator==(const Question& other) const {
        for (auto* const signal : {compared, other.compared})
            if (signal)
                signal->release();
        return true;
    }
};

} // namespace

TEST(EarlyAnswersTest, NobodyWaitsForATakeThatWasDropped) {
    EarlyAnswers<Question, std::string> answers([] { throw Cancelled(); });
    answers.begin();
    std::latch begun(1), mayEnd(1);
    std::counting_semaphore<> waits(0);
    std::jthread run([&] {
        EXPECT_EQ(answers.ahead({}, std::stop_source(),
                                [&] {
                                    begun.count_down();
                                    mayEnd.wait();
                                    return "early";
                                }),
                  "early");
    });
    begun.wait();
    answers.finish();
    std::jthread asks([&] {
        EXPECT_THROW(answers.finished({&waits}, {},
                                      []() -> std::string {
                                          ADD_FAILURE() << "nobody wants the answer";
                                          return {};
                                      }),
                     Cancelled);
    });
    waits.acquire();
    answers.forget();
    asks.join();
    mayEnd.count_down();
    run.join();
    EXPECT_FALSE(answers.hasAny()) << "what comes too late is not kept";
}

TEST(EarlyAnswersTest, ARunThatWasStoppedAsksNothingForTheNextTake) {
    EarlyAnswers<Question, std::string> answers([] { throw Cancelled(); });
    answers.begin();
    std::stop_source run;
    run.request_stop();
    EXPECT_THROW(answers.ahead({}, run, [] { return "sent"; }), Cancelled);
}
