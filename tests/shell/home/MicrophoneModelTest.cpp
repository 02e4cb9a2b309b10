#include "shell/home/MicrophoneModel.h"

#include "audio/ChosenInput.h"
#include "base/Files.h"
#include "settings/Config.h"
#include "support/FakeAudio.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

const InputDevice builtIn{7, "Built-in", true, false, "internal"};
const InputDevice usb{8, "Table microphone", false, false, "usb"};
const InputDevice headset{9, "Headset", false, true, "bluez"};

struct MicrophoneModelTest : ::testing::Test {
    MicrophoneModelTest() { inputs.microphone.device = builtIn; }

    void hear(float level, double seconds) {
        for (double passed = 0; passed < seconds; passed += 0.064) {
            inputs.hear(std::vector<float>(1024, level));
            queue.advance(0.064);
        }
    }
    bool isOpen() const { return inputs.microphone.engine != nullptr; }

    VirtualClock clock;
    VirtualMainQueue queue{clock};
    Config config{std::filesystem::temp_directory_path() / files::makeUuid() / "config.json", clock};
    NotificationCenter notifications;
    FakeAudioInput inputs;
    std::optional<ChosenInput> input{std::in_place, inputs, config, notifications};
    std::optional<float> take;
    MicrophoneModel model{{*input, config, notifications, queue, [this] { return take; }}};
};

} // namespace

TEST_F(MicrophoneModelTest, TheChosenDeviceRecordsWhileItIsThere) {
    int changes = 0;
    int told = 0;
    input->onDefaultDeviceChanged([&] { ++told; });
    const auto watch = model.watch([&] { ++changes; });
    inputs.plugInBeside({usb});
    ASSERT_EQ(model.rows().size(), 3u);
    EXPECT_EQ(model.rows()[2].label, "Table microphone");
    EXPECT_EQ(model.inUse(), "Built-in");
    EXPECT_EQ(told, 0) << "another device is no reason to rebuild anything";

    model.choose("usb");
    EXPECT_EQ(config.get().micDevice, "usb");
    EXPECT_EQ(told, 1);
    EXPECT_EQ(input->defaultDevice()->id, usb.id);
    input->makeEngine();
    EXPECT_EQ(inputs.openedKey, "usb");
    EXPECT_EQ(model.note().kind, Note::Kind::none);

    inputs.plugInBeside({});
    EXPECT_EQ(told, 2);
    EXPECT_EQ(model.inUse(), "Built-in");
    EXPECT_THAT(model.note().text, HasSubstr("\"Built-in\" records meanwhile"));
    EXPECT_EQ(model.rows().back().key, "usb") << "the choice stays visible";
    inputs.plugInBeside({usb});
    EXPECT_EQ(model.inUse(), "Table microphone");
    EXPECT_GE(changes, 4);

    inputs.plugInBeside({});
    inputs.change({});
    EXPECT_THAT(model.note().text, HasSubstr("No microphone is connected"));
    inputs.hasServer = false;
    EXPECT_THAT(model.note().text, HasSubstr("No sound server"));
}

TEST_F(MicrophoneModelTest, StudioTakesTheBuiltInOneInThePlaceOfAWirelessHeadset) {
    inputs.plugInBeside({builtIn});
    inputs.change(headset);
    EXPECT_EQ(model.inUse(), "Built-in");
    config.update([](Settings& settings) { settings.micMode = MicMode::airpods; });
    notifications.post(notification::micModeChanged);
    EXPECT_EQ(model.inUse(), "Headset");
    config.update([](Settings& settings) { settings.micMode = MicMode::studio; });
    inputs.change(usb);
    EXPECT_EQ(model.inUse(), "Table microphone") << "a wired one was meant";
    inputs.plugInBeside({});
    inputs.change(headset);
    EXPECT_EQ(model.inUse(), "Headset") << "better than none";
}

TEST_F(MicrophoneModelTest, TheMicrophoneIsOpenOnlyWhileSomebodyLooks) {
    queue.advance(1);
    EXPECT_FALSE(isOpen());
    int levels = 0;
    const auto watch = model.watchLevel([&] { ++levels; });
    auto screen = model.listen();
    auto other = model.listen();
    queue.advance(0.1);
    EXPECT_TRUE(isOpen());
    hear(0.075F, 1);
    EXPECT_NEAR(model.level(), 0.5, 0.01);
    EXPECT_NEAR(levels, 21, 3);
    screen.reset();
    EXPECT_TRUE(isOpen());
    other.reset();
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(model.level(), 0);
}

TEST_F(MicrophoneModelTest, ATakeHasTheMicrophoneForItself) {
    const auto screen = model.listen();
    queue.advance(0.2);
    ASSERT_TRUE(isOpen());
    take = 0.7F;
    queue.advance(0.06);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(model.level(), 0.7F);
    take.reset();
    queue.advance(0.06);
    EXPECT_TRUE(isOpen());
}

TEST_F(MicrophoneModelTest, WhatKeepsTheMicrophoneSilentIsTold) {
    inputs.microphone.startErrors = {"Device or resource busy", ""};
    const auto screen = model.listen();
    queue.advance(0.1);
    EXPECT_THAT(model.note().text, HasSubstr("cannot be opened: Device or resource busy"));
    queue.advance(1.2);
    EXPECT_TRUE(isOpen()) << "it is tried again";
    EXPECT_EQ(model.note().text, "");
    hear(0, 4);
    EXPECT_THAT(model.note().text, HasSubstr("muted"));
    hear(0.01F, 0.2);
    EXPECT_EQ(model.note().text, "");
}
