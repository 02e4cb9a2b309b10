// What both ports promise, checked on the fakes and on the adapters.

#include "AudioWorld.h"

#include <atomic>
#include <gtest/gtest.h>
#include <set>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class AudioContract : public ::testing::TestWithParam<std::unique_ptr<AudioWorld> (*)()> {
protected:
    void SetUp() override { world = GetParam()(); }

    std::unique_ptr<AudioWorld> world;
};

} // namespace

TEST_P(AudioContract, DefaultDevice_IsDescribed) {
    const auto device = world->input().defaultDevice();
    ASSERT_TRUE(device);
    EXPECT_NE(device->id, 0u);
    EXPECT_FALSE(device->name.empty());
    EXPECT_TRUE(device->isBuiltIn);
    const InputFormat format = world->input().makeEngine()->format();
    EXPECT_GE(format.sampleRate, 8000);
    EXPECT_GE(format.channels, 1u);
}

TEST_P(AudioContract, Engine_DeliversBuffersOfTheTapsSizeWhileItRuns) {
    const auto engine = world->input().makeEngine();
    std::atomic<int> buffers = 0;
    std::atomic<bool> wrongSize = false;
    engine->installTap(480, [&](std::span<const float> samples) {
        wrongSize = wrongSize || samples.size() != 480;
        ++buffers;
    });
    EXPECT_FALSE(engine->isRunning());
    for (int round = 0; round < 2; ++round) {
        buffers = 0;
        EXPECT_FALSE(engine->start());
        EXPECT_FALSE(engine->start()) << "starting a running engine does nothing";
        EXPECT_TRUE(engine->isRunning());
        EXPECT_TRUE(world->passUntil([&] { return buffers >= 5; }));
        EXPECT_FALSE(wrongSize);
        engine->stop();
        EXPECT_FALSE(engine->isRunning());
    }
}

TEST_P(AudioContract, Engine_DeliversNothingOnceStoppedOrUntapped) {
    const auto engine = world->input().makeEngine();
    const auto witness = world->input().makeEngine();
    std::atomic<int> buffers = 0;
    std::atomic<int> witnessed = 0;
    witness->installTap(480, [&](std::span<const float>) { ++witnessed; });
    ASSERT_FALSE(witness->start());
    const auto timePasses = [&] {
        return world->passUntil([&, before = witnessed.load()] { return witnessed > before + 3; });
    };

    engine->installTap(480, [&](std::span<const float>) { ++buffers; });
    ASSERT_FALSE(engine->start());
    engine->stop();
    int before = buffers;
    EXPECT_TRUE(timePasses());
    EXPECT_EQ(buffers, before);

    ASSERT_FALSE(engine->start());
    engine->removeTap();
    before = buffers;
    EXPECT_TRUE(timePasses());
    EXPECT_EQ(buffers, before);
    EXPECT_TRUE(engine->isRunning());
}

TEST_P(AudioContract, ChangeOfTheDefaultDevice_IsToldAndLeavesARunningEngineAlone) {
    const auto old = world->input().defaultDevice();
    const auto engine = world->input().makeEngine();
    std::atomic<int> buffers = 0;
    engine->installTap(480, [&](std::span<const float>) { ++buffers; });
    ASSERT_FALSE(engine->start());

    int told = 0;
    world->input().onDefaultDeviceChanged([&] { ++told; });
    world->plugInHeadset();
    EXPECT_TRUE(world->passUntil([&] { return told > 0 && world->input().defaultDevice()->id != old->id; }));
    EXPECT_FALSE(world->input().defaultDevice()->isBuiltIn);
    EXPECT_TRUE(engine->isRunning());

    const auto next = world->input().makeEngine();
    std::atomic<int> nextBuffers = 0;
    next->installTap(480, [&](std::span<const float>) { ++nextBuffers; });
    EXPECT_FALSE(next->start());
    EXPECT_TRUE(world->passUntil([&] { return nextBuffers > 2; }));
}

TEST_P(AudioContract, DevicesBesideTheDefault_AreListedAndOpenedByTheirKey) {
    AudioInput& input = world->input();
    const auto keys = [&] {
        std::set<std::string> all;
        for (const InputDevice& device : input.devices())
            if (!device.isMonitor)
                all.insert(device.key);
        return all;
    };
    const auto usual = keys();
    EXPECT_EQ(usual, std::set{input.defaultDevice()->key}) << "what a speaker plays is no microphone";
    world->passUntil([looks = 0]() mutable { return ++looks > 3; }); // what was on its way from the start has arrived
    int told = 0;
    int toldOfDefault = 0;
    input.onDevicesChanged([&] { ++told; });
    input.onDefaultDeviceChanged([&] { ++toldOfDefault; });
    world->plugInBeside();
    EXPECT_TRUE(world->passUntil([&] { return told > 0 && keys().contains("beside"); }));
    EXPECT_EQ(keys().size(), 2u);
    EXPECT_EQ(toldOfDefault, 0);

    const auto engine = input.makeEngineOf("beside");
    std::atomic<int> buffers = 0;
    engine->installTap(480, [&](std::span<const float>) { ++buffers; });
    EXPECT_FALSE(engine->start());
    EXPECT_TRUE(world->passUntil([&] { return buffers > 2; }));
    engine->stop();
    world->unplugBeside();
    EXPECT_TRUE(world->passUntil([&] { return keys() == usual; }));
    const auto none = input.makeEngineOf("beside");
    EXPECT_EQ(none->format().channels, 0u);
    EXPECT_TRUE(none->start());
}

TEST_P(AudioContract, WithoutAnyDevice_AnEngineHasNoFormatAndRefuses) {
    EXPECT_TRUE(world->input().defaultDevice());
    world->unplugEverything();
    EXPECT_TRUE(world->passUntil([&] { return !world->input().defaultDevice(); }));
    const auto engine = world->input().makeEngine();
    EXPECT_EQ(engine->format().sampleRate, 0);
    EXPECT_EQ(engine->format().channels, 0u);
    EXPECT_TRUE(engine->start());
    EXPECT_FALSE(engine->isRunning());
}

TEST_P(AudioContract, SecondSound_CutsOffTheFirst) {
    AudioOutput& output = world->output();
    const auto sounds = [&](double frequency) {
        return world->passUntil([&] { return std::abs(world->soundingFrequency() - frequency) < 20; });
    };
    EXPECT_TRUE(sounds(0));
    output.play(sine(0.5F, 60, 44100, 1000), 44100);
    EXPECT_TRUE(sounds(1000));
    output.play(sine(0.5F, 60, 44100, 400), 44100);
    EXPECT_TRUE(sounds(400)) << "both together would have another frequency";
    output.stop();
    EXPECT_TRUE(sounds(0));
    output.play({}, 44100);
    EXPECT_TRUE(sounds(0));
}

INSTANTIATE_TEST_SUITE_P(Fake, AudioContract, ::testing::Values(&makeFakeWorld));
INSTANTIATE_TEST_SUITE_P(PulseAudio, AudioContract, ::testing::Values(&makePulseWorld));
