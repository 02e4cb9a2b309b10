#include "app/transcribe/LoadedSound.h"

#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <thread>

using namespace fenlo;

TEST(LoadedSound, OneIsReadAtATime_AndNoneBeyondTheLimit) {
    LoadedSound sound(100);
    auto first = std::make_unique<LoadedSound::Share>(sound, std::stop_token());
    std::unique_ptr<LoadedSound::Share> second, third;
    std::atomic<bool> isRead = false, isGone = false;
    {
        const std::jthread waiting([&] {
            second = std::make_unique<LoadedSound::Share>(sound, std::stop_token());
            EXPECT_TRUE(isRead);
        });
        isRead = true;
        first->loaded(90);
    } // the second one begins beside the first
    second->loaded(90);
    {
        const std::jthread waiting([&] {
            third = std::make_unique<LoadedSound::Share>(sound, std::stop_token());
            EXPECT_TRUE(isGone);
        });
        isGone = true;
        first.reset();
    }
    second.reset();

    std::stop_source stop;
    std::jthread waiting([&] { const LoadedSound::Share stopped(sound, stop.get_token()); }); // the third one is read
    stop.request_stop();
}
