#include "shell/home/VoiceProfileModel.h"
#include "base/NotificationCenter.h"
#include "settings/Config.h"
#include "support/FakeAudio.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <fstream>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace fs = std::filesystem;

namespace {

class VoiceProfiles : public ::testing::Test {
protected:
    static std::vector<float> voiceClip(const std::string& name) {
        return loadVoiceAudio(std::string(VOICE_CLIPS "/") + name + ".flac").value();
    }
    void store(const std::string& name) {
        ASSERT_TRUE(learnVoice(voiceClip(name), file).isStored);
        model.refresh();
    }
    /// A trial in which this is said, then silence until it ends.
    std::string tryWith(const std::string& name) {
        model.startTrial();
        input.hear(voiceClip(name));
        queue.advance(VoiceProfileModel::trialLength);
        EXPECT_EQ(model.trialText(), "Comparing…");
        background.runAll();
        queue.runPosted();
        return model.trialText();
    }

    const TemporaryFolder home;
    const fs::path file = home / ".fenlo" / "voice_profile.json";
    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    Config config{home / "config.json", clock};
    NotificationCenter notifications;
    FakeAudioInput input;
    VoiceProfileModel model{{input, clock, queue, background, config, notifications}, file};
};

} // namespace

TEST_F(VoiceProfiles, WhatThereIsIsSaidPlainly) {
    EXPECT_EQ(model.state(), VoiceProfileModel::State::none);
    EXPECT_EQ(model.makeCaption(), "Set Up Voice Profile");
    EXPECT_EQ(model.made(), "");
    store("man-passage");
    EXPECT_EQ(model.description(), "A low voice of about 102 Hz, mostly 94 to 116 Hz");
    EXPECT_EQ(model.makeCaption(), "Re-record");
    EXPECT_NE(model.made(), "");
    EXPECT_TRUE(model.limits().starts_with("High voices are cut well.")) << model.limits();
    store("woman-passage");
    EXPECT_TRUE(model.description().starts_with("A high voice")) << model.description();

    VoiceProfileData between = loadVoiceProfile(file).value();
    between.genderConfidence = 0.49;
    storeVoiceProfile(between, file);
    model.refresh();
    EXPECT_TRUE(model.limits().starts_with("Your voice lies between")) << model.limits();
    std::ofstream(file) << "{";
    model.refresh();
    EXPECT_EQ(model.state(), VoiceProfileModel::State::damaged);
}

TEST_F(VoiceProfiles, ATrialTellsTheOwnerFromSomebodyElse) {
    model.startTrial();
    EXPECT_EQ(model.trial(), VoiceProfileModel::Trial::none) << "there is no profile to compare with";
    store("man-passage");
    const std::string ofOwner = tryWith("man-take");
    EXPECT_TRUE(ofOwner.ends_with("It is taken for your voice.")) << ofOwner;
    const std::string ofOther = tryWith("woman-take");
    EXPECT_TRUE(ofOther.ends_with("It is taken for somebody else's voice.")) << ofOther;

    model.startTrial(); // silence
    queue.advance(2.5);
    EXPECT_DOUBLE_EQ(model.trialProgress(), 0.5);
    queue.advance(2.5);
    background.runAll();
    queue.runPosted();
    EXPECT_EQ(model.trialText(), "Microphone sends nothing");
    input.microphone.device.reset();
    input.microphone.format = {0, 0};
    model.startTrial();
    EXPECT_EQ(model.trialText(), "No microphone");
}

TEST_F(VoiceProfiles, RemovedItIsGoneAndIsolationWithIt) {
    store("man-passage");
    config.update([](Settings& settings) { settings.voiceIsolation = true; });
    model.startTrial();
    model.remove();
    EXPECT_EQ(model.trial(), VoiceProfileModel::Trial::none);
    EXPECT_EQ(model.state(), VoiceProfileModel::State::none);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_FALSE(config.get().voiceIsolation);

    config.update([](Settings& settings) { settings.voiceIsolation = true; });
    fs::create_directories(file / "in the way");
    model.remove();
    EXPECT_NE(model.message(), "");
    EXPECT_TRUE(config.get().voiceIsolation);
}
