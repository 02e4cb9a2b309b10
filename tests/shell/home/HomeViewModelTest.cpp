#include "shell/home/HomeViewModel.h"
#include "account/AccountStore.h"
#include "base/NotificationCenter.h"
#include "shell/Sounds.h"
#include "shell/home/SettingChoices.h"
#include "speech/LocalTranscriber.h"
#include "support/FakeAudio.h"
#include "support/FakeDesktop.h"
#include "support/FakeSecureStore.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class SettingsModel : public ::testing::Test {
protected:
    SettingsModel() {
        config.tellOn(queue);
        for (const char* name :
             {notification::hotkeyChanged, notification::micModeChanged, notification::userDidSignOut})
            observations.push_back(notifications.observe(
                name, [this, name](const auto& object) { posts.push_back(name + (object ? " " + *object : "")); }));
    }
    Settings stored() const { return fenlo::readSettings(file).settings; }
    void settle() {
        background.runAll();
        queue.runPosted();
    }

    const TemporaryFolder home;
    const std::filesystem::path file = home / "config.json";
    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    Config config{file, clock};
    NotificationCenter notifications;
    FakeSecureStore secrets;
    Keychain keychain{secrets};
    AccountStore account{keychain, queue, background};
    std::vector<std::string> offlineLines; // after each step of a set-up
    void toldOfSteps(const LocalTranscriber::Steps& steps, const SetupStep& step) {
        steps(step);
        offlineLines.push_back(model.offlineLine());
    }
    std::function<void(std::stop_token)> makeEngine = [](std::stop_token) {};
    LocalTranscriber transcriber{
        "small", home / "models",
        [this](const auto&, const auto&, const auto& steps, std::stop_token stop) {
            makeEngine(stop);
            if (steps)
                for (const auto kind : {SetupStep::Kind::downloading, SetupStep::Kind::preparing})
                    for (const std::uint64_t done : {0, 50'000'000, 100'000'000})
                        toldOfSteps(steps, {kind, done, 100'000'000});
            return LocalTranscriber::Engine();
        },
        clock};
    FakeAudioOutput output;
    TonePlayer tones{output, background};
    FakeWorkspace workspace;
    std::vector<std::string> posts;
    std::vector<NotificationCenter::Observation> observations;
    HomeViewModel model{{config, queue, background, notifications, account, transcriber, tones, workspace}};
};

} // namespace

TEST_F(SettingsModel, EveryMirrorGoesToItsSettingAndComesBack) {
    const Settings defaults;
    model.continuousMode = !defaults.continuousMode;
    model.voiceCommands = !defaults.voiceCommands;
    model.showOverlay = !defaults.showOverlay;
    model.playSounds = !defaults.playSounds;
    model.silenceNotification = !defaults.silenceNotification;
    model.voiceIsolation = !defaults.voiceIsolation;
    model.smartRewrite = !defaults.smartRewrite;
    model.autoCapitalize = !defaults.autoCapitalize;
    model.showAppInPill = !defaults.showAppInPill;
    model.showWordsInPill = !defaults.showWordsInPill;
    model.uploadWhileSpeaking = !defaults.uploadWhileSpeaking;
    model.typeShortTexts = !defaults.typeShortTexts;
    model.typeAllTexts = !defaults.typeAllTexts;
    model.keepFailedTakes = !defaults.keepFailedTakes;
    model.language = "de";
    model.outputMode = OutputMode::translate;
    model.smartRewriteModel = SmartRewriteModel::gemini;
    model.sttEngine = SttEngine::grok;
    model.smartRewriteStyle = SmartRewriteStyle::minimal;
    model.dictationMode = DictationMode::personal;
    model.customVocabularyText = " Fenlo ,, two words\nthird\n, ";
    model.applySettings();

    const Settings now = stored();
    EXPECT_EQ(now.continuousMode, !defaults.continuousMode);
    EXPECT_EQ(now.voiceCommands, !defaults.voiceCommands);
    EXPECT_EQ(now.showOverlay, !defaults.showOverlay);
    EXPECT_EQ(now.playSounds, !defaults.playSounds);
    EXPECT_EQ(now.silenceNotification, !defaults.silenceNotification);
    EXPECT_EQ(now.voiceIsolation, !defaults.voiceIsolation);
    EXPECT_EQ(now.smartRewrite, !defaults.smartRewrite);
    EXPECT_EQ(now.autoCapitalize, !defaults.autoCapitalize);
    EXPECT_EQ(now.showAppInPill, !defaults.showAppInPill);
    EXPECT_EQ(now.showWordsInPill, !defaults.showWordsInPill);
    EXPECT_EQ(now.uploadWhileSpeaking, !defaults.uploadWhileSpeaking);
    EXPECT_EQ(now.typeShortTexts, !defaults.typeShortTexts);
    EXPECT_EQ(now.typeAllTexts, !defaults.typeAllTexts);
    EXPECT_EQ(now.keepFailedTakes, !defaults.keepFailedTakes);
    EXPECT_EQ(now.language, "de");
    EXPECT_EQ(now.outputMode, OutputMode::translate);
    EXPECT_EQ(now.smartRewriteModel, SmartRewriteModel::gemini);
    EXPECT_EQ(now.sttEngine, SttEngine::grok);
    EXPECT_EQ(now.smartRewriteStyle, SmartRewriteStyle::minimal);
    EXPECT_EQ(now.dictationMode, DictationMode::personal);
    EXPECT_EQ(now.customVocabulary, (std::vector<std::string>{"Fenlo", "two words", "third"}));
    EXPECT_EQ(model.customVocabularyText, "Fenlo, two words, third");
    EXPECT_TRUE(posts.empty());
}

TEST_F(SettingsModel, ChangesOfOthersMeanwhileAreKeptAndShown) {
    config.update([](Settings& settings) { settings.professionVocabulary = {"Mercy", "Anna"}; });
    queue.runPosted();
    EXPECT_EQ(model.professionVocabularyText, "Mercy, Anna");
    int told = 0;
    const auto watch = model.watch([&] { ++told; });

    // A take learns a word and the menu switches the mode, while the screen still shows what was before.
    config.update([](Settings& settings) {
        settings.professionVocabulary.push_back("Berlin");
        settings.dictationMode = DictationMode::personal;
        settings.smartRewriteModel = Choice<SmartRewriteModel>("oracle");
    });
    model.playSounds = false;
    model.professionVocabularyText = "Anna";
    model.applySettings();
    EXPECT_EQ(stored().professionVocabulary, (std::vector<std::string>{"Anna", "Berlin"}));
    EXPECT_EQ(stored().dictationMode, DictationMode::personal);
    EXPECT_EQ(stored().smartRewriteModel.word(), "oracle");
    EXPECT_EQ(model.dictationMode, DictationMode::personal);
    EXPECT_EQ(told, 1);

    config.update([](Settings& settings) { settings.voiceCommands = false; });
    config.update([](Settings& settings) { settings.continuousMode = true; });
    queue.runPosted();
    EXPECT_TRUE(model.continuousMode);
    EXPECT_EQ(told, 2) << "told once for what happened together";
}

TEST_F(SettingsModel, AWordLearnedWhileTheUserTypesStays) {
    model.customVocabularyText = "One";
    model.applySettings();
    config.update([](Settings& settings) { settings.customVocabulary.push_back("Learned"); });
    queue.runPosted(); // the window knows it, the text under the user's fingers does not
    model.editCustomVocabulary("One, Two", "One");
    EXPECT_EQ(model.customVocabularyText, "One, Two, Learned");
    model.editCustomVocabulary("Two", "One, Two, Learned");
    EXPECT_EQ(stored().customVocabulary, std::vector<std::string>{"Two"});
}

TEST_F(SettingsModel, TermsThatHoldACommaStayWhole) {
    config.update([](Settings& settings) { settings.customVocabulary = {"Smith, Jones & Co", "Fenlo"}; });
    queue.runPosted();
    model.customVocabularyText += ", Anna";
    model.applySettings();
    EXPECT_EQ(stored().customVocabulary, (std::vector<std::string>{"Smith, Jones & Co", "Fenlo", "Anna"}));
    model.customVocabularyText = "Smith, Fenlo";
    model.applySettings();
    EXPECT_EQ(stored().customVocabulary, (std::vector<std::string>{"Smith", "Fenlo"}));
}

TEST_F(SettingsModel, HotkeyAndMicrophoneArePostedWhenTheyChange) {
    model.hotkey = "fn";
    model.applySettings();
    model.micMode = MicMode::airpods;
    model.applySettings();
    model.applySettings();
    EXPECT_EQ(posts, (std::vector<std::string>{"FenloHotkeyChanged fn", "FenloMicModeChanged"}));
}

TEST_F(SettingsModel, OfflineModeForcesEnglishAndTranscription) {
    model.language = "de";
    model.outputMode = OutputMode::translate;
    model.applySettings();
    model.setOfflineMode(true);
    EXPECT_TRUE(model.isSettingUpOffline);
    EXPECT_FALSE(stored().offlineMode) << "not before it works";
    EXPECT_EQ(model.offlineLine(), "Setting up offline mode...");
    EXPECT_EQ(model.offlineSetupProgress, 0.1);
    model.setOfflineMode(true);
    EXPECT_EQ(background.pending(), 1u) << "one set-up";
    settle();
    EXPECT_TRUE(stored().offlineMode);
    EXPECT_EQ(stored().language, "en");
    EXPECT_EQ(stored().outputMode, OutputMode::transcribe);
    EXPECT_EQ(model.offlineLine(), "Using on-device transcription");
    EXPECT_EQ(offlineLines.at(1), "Setting up offline mode... 50 MB of 100 MB fetched");
    EXPECT_EQ(offlineLines.back(), "Setting up offline mode...") << "the rest is no download";
    EXPECT_EQ(withValue(languageChoices(model.offlineMode), model.language).size(), 1u);
    model.setOfflineMode(false);
    EXPECT_FALSE(stored().offlineMode);
    EXPECT_EQ(model.offlineLine(), "");
}

TEST_F(SettingsModel, SetUpNeverSeemsToBeginAnew) {
    model.setOfflineMode(true);
    std::vector<double> shown;
    const auto watch = model.watch([&] {
        if (model.offlineSetupProgress > 0)
            shown.push_back(model.offlineSetupProgress);
    });
    settle();
    EXPECT_GE(shown.size(), 4u);
    EXPECT_TRUE(std::ranges::is_sorted(shown));
}

TEST_F(SettingsModel, FailedOrCancelledSetUpLeavesOfflineModeOff) {
    makeEngine = [](std::stop_token) { throw std::runtime_error("no network"); };
    model.setOfflineMode(true);
    settle();
    EXPECT_FALSE(model.isSettingUpOffline);
    EXPECT_FALSE(stored().offlineMode);
    EXPECT_EQ(model.offlineLine(), "Setup failed. Please try again.");

    std::filesystem::create_directories(home / "models/openai_whisper-small");
    bool wasAskedToStop = false;
    makeEngine = [&](std::stop_token stop) {
        wasAskedToStop = stop.stop_requested();
        throw std::runtime_error("stopped");
    };
    model.setOfflineMode(true);
    EXPECT_EQ(model.offlineLine(), "Loading model...");
    model.cancelOfflineSetup();
    settle();
    EXPECT_TRUE(wasAskedToStop);
    EXPECT_FALSE(model.isSettingUpOffline);
    EXPECT_EQ(model.offlineLine(), "");
}

TEST_F(SettingsModel, SetUpOfAnotherPartIsWaitedFor) {
    // The start-up loads the model while the user turns offline mode on.
    makeEngine = [this](std::stop_token) {
        model.setOfflineMode(true);
        settle();
        EXPECT_TRUE(model.isSettingUpOffline);
        queue.advance(2);
        EXPECT_TRUE(model.isSettingUpOffline);
    };
    transcriber.setup({}, {});
    queue.advance(1);
    EXPECT_FALSE(model.isSettingUpOffline);
    EXPECT_TRUE(stored().offlineMode);
}

TEST_F(SettingsModel, AChosenSoundSchemeIsHeard) {
    model.chooseSoundScheme("harp");
    background.runAll();
    ASSERT_EQ(output.played.size(), 1u);
    queue.advance(1);
    background.runAll();
    ASSERT_EQ(output.played.size(), 2u);
    const SoundScheme& harp = *SoundScheme::find(SoundSchemeId::harp);
    EXPECT_EQ(output.played[0].samples, renderTones(harp.start, 0.02, harp.startVol));
    EXPECT_EQ(output.played[1].samples, renderTones(harp.end, 0.015, harp.endVol));
    EXPECT_EQ(stored().soundScheme, SoundSchemeId::harp);
    model.chooseSoundScheme("none");
    queue.advance(2);
    background.runAll();
    EXPECT_EQ(output.played.size(), 2u);
}

TEST_F(SettingsModel, GlossaryFilesAreReadOnAWorker) {
    const auto write = [&](const char* name, const std::string& content) {
        std::ofstream(home / name) << content;
        model.importGlossary(home / name);
        EXPECT_FALSE(model.glossary().has_value());
        settle();
        return model.glossary()->counts;
    };
    EXPECT_EQ(write("terms.csv", "Alpha, beta\nALPHA"), (GlossaryCounts{2, 1}));
    EXPECT_EQ(model.customVocabularyText, "Alpha, beta");
    EXPECT_EQ(write("terms.JSON", R"({"words": ["x"]})"), GlossaryCounts());
    EXPECT_EQ(write("latin1.txt", "Stra\xDF"
                                  "e"),
              std::nullopt);
    EXPECT_EQ(write("huge.txt", std::string(largestGlossary + 1, 'x')), std::nullopt);
    model.importGlossary(home / "absent.txt");
    settle();
    EXPECT_EQ(model.glossary()->counts, std::nullopt);
    EXPECT_EQ(stored().customVocabulary, (std::vector<std::string>{"Alpha", "beta"}));
}

TEST_F(SettingsModel, SignOutForgetsTheAccountOnly) {
    secrets.values = {{"google_refresh_token", "a"}, {"google_user_name", "b"},    {"google_user_email", "d"},
                      {"google_token_expiry", "e"},  {"google_access_token", "f"}, {"auth_provider", "apple"},
                      {"groq_api_key", "c"}};
    model.signOut([] {});
    background.runAll();
    EXPECT_TRUE(posts.empty());
    queue.runPosted();
    EXPECT_EQ(secrets.values, (std::map<std::string, std::string>{{"groq_api_key", "c"}}));
    EXPECT_EQ(posts, std::vector<std::string>{"FenloUserDidSignOut"});
}

TEST_F(SettingsModel, FaultsAreTold) {
    workspace.loginError = "cannot write it";
    model.setOpensAtLogin(false);
    EXPECT_EQ(model.loginFault, "This could not be changed: cannot write it");
    workspace.loginError.reset();
    model.setOpensAtLogin(false);
    EXPECT_EQ(model.loginFault, "");
    EXPECT_FALSE(model.opensAtLogin());

    EXPECT_EQ(model.storageLine(), "");
    std::filesystem::remove(file);
    std::filesystem::create_directories(file / "in the way");
    model.playSounds = false;
    model.applySettings();
    EXPECT_NE(model.storageLine(), "");
    EXPECT_FALSE(model.playSounds) << "it holds until the end";
    std::filesystem::remove_all(file);
    model.saveAgain();
    EXPECT_EQ(model.storageLine(), "");
    EXPECT_FALSE(stored().playSounds);
}
