// What the computer plays: the promises of the port on the fake and on a real server, and what real servers do to it.

#include "SoundServer.h"
#include "meeting/SystemAudioCapture.h"
#include "platform/linux/audio/PulseSystemAudio.h"
#include "support/FakeSystemAudio.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/WaitUntil.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <mutex>
#include <numbers>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;

namespace {

using HostClock = std::chrono::steady_clock;

double secondsFrom(HostClock::time_point start) {
    return std::chrono::duration<double>(HostClock::now() - start).count();
}

/// The amplitude of one frequency.
double amplitudeAt(double frequency, std::span<const float> samples) {
    double real = 0;
    double imaginary = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double angle = 2 * std::numbers::pi * frequency * static_cast<double>(i) / systemAudioRate;
        real += samples[i] * std::cos(angle);
        imaginary += samples[i] * std::sin(angle);
    }
    return 2 * std::hypot(real, imaginary) / static_cast<double>(samples.size());
}

/// What a tap was given.
class Ear {
public:
    SystemAudioInput::Tap tap() {
        return [this](std::span<const float> samples) {
            const std::lock_guard lock(m_mutex);
            m_samples.insert(m_samples.end(), samples.begin(), samples.end());
            m_lastCame = HostClock::now();
        };
    }
    std::size_t count() const {
        const std::lock_guard lock(m_mutex);
        return m_samples.size();
    }
    std::vector<float> all() const {
        const std::lock_guard lock(m_mutex);
        return m_samples;
    }
    /// How much there was, and when the last of it came.
    std::pair<double, HostClock::time_point> length() const {
        const std::lock_guard lock(m_mutex);
        return {static_cast<double>(m_samples.size()) / systemAudioRate, m_lastCame};
    }
    /// Of the last tenth of a second.
    double amplitudeNow(double frequency) const {
        const std::lock_guard lock(m_mutex);
        return m_samples.size() < tenth ? 0 : amplitudeAt(frequency, std::span(m_samples).last(tenth));
    }
    bool hears(double frequency) const {
        return waitUntil(10, [&] { return amplitudeNow(frequency) > 0.2; });
    }
    /// Tenths of a second in which this sounded.
    int tenthsOf(double frequency) const {
        int tenths = 0;
        const auto samples = all();
        for (std::size_t i = 0; i + tenth <= samples.size(); i += tenth)
            tenths += amplitudeAt(frequency, std::span(samples).subspan(i, tenth)) > 0.05;
        return tenths;
    }

private:
    static constexpr auto tenth = static_cast<std::size_t>(systemAudioRate / 10);

    mutable std::mutex m_mutex;
    std::vector<float> m_samples;
    HostClock::time_point m_lastCame;
};

class SystemAudioWorld {
public:
    virtual ~SystemAudioWorld() = default;
    virtual SystemAudioInput& input() = 0;
    virtual void playTone() = 0; // of 440 Hz
    virtual void breakDown() = 0;
};

class FakeComputer final : public SystemAudioWorld {
public:
    SystemAudioInput& input() override { return m_audio; }
    void playTone() override { m_audio.hear(sine(0.5F, 1, systemAudioRate)); }
    void breakDown() override { m_audio.error = "broken"; }

private:
    FakeSystemAudio m_audio;
};

class PulseComputer final : public SystemAudioWorld {
public:
    PulseComputer() { m_server.startWithSpeakers(); }
    SystemAudioInput& input() override { return m_audio; }
    void playTone() override { m_server.play(0.5F, 0.5F, 440, "speakers"); }
    void breakDown() override { m_server.kill(); }

private:
    SoundServer m_server;
    PulseSystemAudio m_audio;
};

template <typename World>
std::unique_ptr<SystemAudioWorld> make() {
    return std::make_unique<World>();
}

class SystemAudioContract : public ::testing::TestWithParam<std::unique_ptr<SystemAudioWorld> (*)()> {
protected:
    const std::unique_ptr<SystemAudioWorld> world = GetParam()();
};

class PulseSystem : public ::testing::Test {
protected:
    void open() {
        auto opened = input.open(ear.tap());
        EXPECT_TRUE(opened.stream) << opened.error;
        stream = std::move(opened.stream);
        begin = HostClock::now();
    }
    /// Samples of as many seconds as have passed, but for what is still on its way on a busy machine.
    void expectInStepWithTheClock() {
        double seconds = 0;
        double passed = 0;
        // On a busy machine a piece may come late; what is missing never comes.
        EXPECT_TRUE(waitUntil(5,
                              [&] {
                                  const auto [heard, last] = ear.length();
                                  seconds = heard;
                                  passed = std::chrono::duration<double>(last - begin).count();
                                  return std::abs(seconds - passed) < 0.01 * passed + 0.15;
                              }))
            << seconds << " of " << passed << " seconds";
    }
    std::size_t streams() {
        const std::string list = server.control("list short source-outputs");
        return static_cast<std::size_t>(std::ranges::count(list, '\n'));
    }

    SoundServer server;
    Ear ear;
    PulseSystemAudio input;
    std::unique_ptr<SystemAudioStream> stream;
    HostClock::time_point begin;
};

constexpr double roomFrequency = 1000;

} // namespace

TEST_P(SystemAudioContract, WhatIsPlayedArrives_UntilTheStreamEnds) {
    Ear ear;
    auto opened = world->input().open(ear.tap());
    ASSERT_TRUE(opened.stream) << opened.error;
    EXPECT_TRUE(opened.error.empty());
    world->playTone();
    EXPECT_TRUE(ear.hears(440));
    opened.stream.reset();
    const std::size_t heard = ear.count();

    Ear second;
    opened = world->input().open(second.tap());
    ASSERT_TRUE(opened.stream);
    world->playTone();
    EXPECT_TRUE(second.hears(440));
    EXPECT_EQ(ear.count(), heard);
}

TEST_P(SystemAudioContract, WithoutASoundSystem_OpeningIsRefusedInOneLine) {
    world->breakDown();
    const auto opened = world->input().open([](std::span<const float>) {});
    EXPECT_FALSE(opened.stream);
    EXPECT_FALSE(opened.error.empty());
    EXPECT_EQ(opened.error.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Fake, SystemAudioContract, ::testing::Values(&make<FakeComputer>));
INSTANTIATE_TEST_SUITE_P(PulseAudio, SystemAudioContract, ::testing::Values(&make<PulseComputer>));

TEST_F(PulseSystem, LevelAndLength_AreThoseOfWhatPlays) {
    server.startWithSpeakers();
    open();
    server.play(0.5F, 0.5F, 440, "speakers");
    EXPECT_TRUE(ear.hears(440));
    waitUntil(10, [&] { return secondsFrom(begin) > 4; });
    EXPECT_NEAR(ear.amplitudeNow(440), 0.5, 0.01);
    expectInStepWithTheClock();
    EXPECT_EQ(ear.tenthsOf(roomFrequency), 0);
    EXPECT_EQ(streams(), 1u);
    stream.reset();
    EXPECT_EQ(streams(), 0u);
}

TEST_F(PulseSystem, OneSide_IsHalfAsLoud) {
    server.startWithSpeakers();
    open();
    server.play(0, 0.8F, 440, "speakers");
    EXPECT_TRUE(ear.hears(440));
    EXPECT_TRUE(waitUntil(5, [&] { return std::abs(ear.amplitudeNow(440) - 0.4) < 0.01; })) << ear.amplitudeNow(440);
}

TEST_F(PulseSystem, AnotherOutput_IsFollowed) {
    server.startWithSpeakers();
    server.control("set-sink-volume headset 50%"); // an eighth
    server.play(0.5F, 0.5F, 440, "speakers");      // the player follows the default
    open();
    const auto hears = [&](double amplitude) {
        return waitUntil(10, [&] { return std::abs(ear.amplitudeNow(440) - amplitude) < 0.005; });
    };
    EXPECT_TRUE(hears(0.5));
    for (int round = 0; round < 2; ++round) {
        server.control("set-default-sink headset");
        EXPECT_TRUE(hears(0.0625)) << ear.amplitudeNow(440);
        server.control("set-default-sink speakers");
        EXPECT_TRUE(hears(0.5)) << ear.amplitudeNow(440);
    }
    expectInStepWithTheClock();
    EXPECT_EQ(streams(), 1u);
    EXPECT_EQ(ear.tenthsOf(roomFrequency), 0);
}

TEST_F(PulseSystem, LostOutput_NeverTurnsToTheMicrophone) {
    server.startWithSpeakers();
    server.play(0.5F, 0.5F, 440, "speakers");
    server.play(0.5F, 0.5F, 600, "headset");
    open();
    EXPECT_TRUE(ear.hears(440));
    const std::string modules = server.control("list short modules");
    const std::size_t line = modules.rfind('\n', modules.find("sink_name=speakers")) + 1; // also for the first
    server.control("unload-module " + modules.substr(line, modules.find('\t', line) - line));
    EXPECT_TRUE(ear.hears(600)) << "the next default";
    server.control("unload-module module-null-sink");
    const std::size_t heard = ear.count();
    EXPECT_TRUE(waitUntil(10, [&] { return ear.count() > heard + 48000; })) << "silence goes on";
    server.control("load-module module-null-sink sink_name=late");
    server.play(0.5F, 0.5F, 800, "late");
    EXPECT_TRUE(ear.hears(800));
    expectInStepWithTheClock();
    EXPECT_EQ(ear.tenthsOf(roomFrequency), 0);
}

TEST_F(PulseSystem, StreamPushedToTheMicrophone_DoesNotRecordIt) {
    server.startWithSpeakers();
    server.play(0.5F, 0.5F, 440, "speakers");
    open();
    EXPECT_TRUE(ear.hears(440));
    const std::string list = server.control("list short source-outputs");
    server.control("move-source-output " + list.substr(0, list.find('\t')) + " room");
    const std::size_t heard = ear.count();
    EXPECT_TRUE(waitUntil(10, [&] { return ear.count() > heard + 48000; }));
    EXPECT_TRUE(ear.hears(440));
    EXPECT_EQ(ear.tenthsOf(roomFrequency), 0);
}

TEST_F(PulseSystem, RestartedServer_IsBridged) {
    server.startWithSpeakers();
    server.play(0.5F, 0.5F, 440, "speakers");
    open();
    EXPECT_TRUE(ear.hears(440));
    for (int round = 0; round < 2; ++round) {
        server.kill();
        const std::size_t heard = ear.count();
        EXPECT_TRUE(waitUntil(10, [&] { return ear.count() > heard + 24000; }));
        EXPECT_LT(ear.amplitudeNow(440), 0.01);
        server.startWithSpeakers();
        server.play(0.5F, 0.5F, 440, "speakers");
        EXPECT_TRUE(ear.hears(440));
    }
    expectInStepWithTheClock();
    EXPECT_EQ(ear.tenthsOf(roomFrequency), 0);
}

TEST_F(PulseSystem, HungServer_HoldsNobodyUp) {
    server.startWithSpeakers();
    open();
    EXPECT_TRUE(waitUntil(10, [&] { return ear.count() > 0; }));
    server.freeze();
    auto start = HostClock::now();
    Ear second;
    EXPECT_FALSE(input.open(second.tap()).stream);
    EXPECT_LT(secondsFrom(start), 1.5);
    start = HostClock::now();
    const std::size_t heard = ear.count();
    EXPECT_TRUE(waitUntil(10, [&] { return ear.count() > heard + 48000; })) << "silence in the place of sound";
    start = HostClock::now();
    stream.reset();
    EXPECT_LT(secondsFrom(start), 0.3);
    server.thaw();
}

TEST_F(PulseSystem, WithoutAnOutput_OpeningIsRefused) {
    server.startWithoutDevices();
    EXPECT_EQ(input.open(ear.tap()).error, "there is no output device");
    server.control("load-module module-sine-source source_name=room frequency=1000");
    EXPECT_FALSE(input.open(ear.tap()).stream) << "a microphone is not what the computer plays";
    EXPECT_EQ(ear.count(), 0u);
}

TEST_F(PulseSystem, StopWhileStarting_LeavesNoStream) {
    server.startWithSpeakers();
    for (int round = 0; round < 12; ++round) {
        SystemAudioCapture capture(input);
        std::jthread starter([&] { EXPECT_FALSE(capture.start()); });
        waitUntil(0.002 * round, [] { return false; });
        capture.stop();
        starter.join(); // before, during or after the stop
        EXPECT_TRUE(waitUntil(5, [&] { return (streams() == 1) == capture.isCapturing(); }));
    }
    EXPECT_TRUE(waitUntil(5, [&] { return streams() == 0; }));
}
