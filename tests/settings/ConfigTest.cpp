#include "settings/Config.h"
#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "support/VirtualTime.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

class ConfigFile : public ::testing::Test {
protected:
    void TearDown() override { fs::remove_all(file.parent_path()); }

    void write(const std::string& content) {
        fs::create_directories(file.parent_path());
        ASSERT_TRUE(files::writeAtomically(file, content));
    }
    Settings load() { return Config(file, clock).get(); }
    nlohmann::json onDisk() const { return parseJson(files::read(file).value()); }

    test::VirtualClock clock;
    const fs::path file = fs::temp_directory_path() / files::makeUuid() / ".fenlo" / "config.json";
};

} // namespace

TEST_F(ConfigFile, FirstStartWritesACompleteFile) {
    const Settings settings = load();
    EXPECT_EQ(settings.hotkey, "ctrl_l");
    EXPECT_EQ(settings.deviceId.size(), 36u);
    EXPECT_EQ(settings.deviceId, text::upper(settings.deviceId));
    const auto values = onDisk();
    for (const char* last : {"hotkey", "mic_device", "keep_failed_takes", "colour_scheme"}) // of each version's keys
        EXPECT_TRUE(values.contains(last)) << last;
    EXPECT_EQ(values["device_id"], settings.deviceId);
    EXPECT_EQ(values["sample_rate"], 16000);
    EXPECT_EQ(values["smart_rewrite_model"], "groq");
    EXPECT_EQ(fs::status(file.parent_path()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(load().deviceId, settings.deviceId) << "a second start keeps it";
}

TEST_F(ConfigFile, WrongTypesLeaveTheDefaultsFieldByField) {
    write(R"({"show_overlay": "yes", "sample_rate": "16000", "language": "de", "custom_vocabulary": ["a", 1],
              "profession_vocabulary": ["Größe"], "play_sounds": false, "device_id": "KEPT", "unknown": 1})");
    const Settings settings = load();
    EXPECT_TRUE(settings.showOverlay);
    EXPECT_EQ(settings.sampleRate, 16000);
    EXPECT_EQ(settings.language, "de");
    EXPECT_TRUE(settings.customVocabulary.empty());
    EXPECT_EQ(settings.professionVocabulary, std::vector<std::string>{"Größe"});
    EXPECT_FALSE(settings.playSounds);
    EXPECT_EQ(settings.deviceId, "KEPT");
}

TEST_F(ConfigFile, ChoicesAreWordsInTheFileAndUnknownOnesStay) {
    write(R"({"output_mode": "translate", "stt_engine": "stt81", "smart_rewrite_model": "oracle", "sound_scheme": 7,
              "dictation_mode": ""})");
    Config config(file, clock);
    EXPECT_EQ(config.get().outputMode, OutputMode::translate);
    EXPECT_EQ(config.get().sttEngine, SttEngine::grok);
    EXPECT_EQ(config.get().smartRewriteModel, SmartRewriteModel::unknown);
    EXPECT_EQ(config.get().soundScheme, SoundSchemeId::gentle);
    EXPECT_EQ(config.get().dictationMode, DictationMode::unknown);
    config.update([](Settings& settings) { settings.outputMode = OutputMode::transliterate; });
    const auto values = onDisk();
    EXPECT_EQ(values["output_mode"], "transliterate");
    EXPECT_EQ(values["stt_engine"], "stt81");
    EXPECT_EQ(values["smart_rewrite_model"], "oracle");
    EXPECT_EQ(values["sound_scheme"], "gentle");
    EXPECT_EQ(values["dictation_mode"], "");
}

TEST_F(ConfigFile, DroppedHotkeysAreCarriedOverOnDisk) {
    for (const char* old : {"f6", "option_l"}) {
        write(std::string(R"({"hotkey": ")") + old + R"(", "device_id": "X"})");
        EXPECT_EQ(load().hotkey, "ctrl_l");
        EXPECT_EQ(onDisk()["hotkey"], "ctrl_l");
    }
}

TEST_F(ConfigFile, DamagedFileIsSetAsideBeforeItIsReplaced) {
    for (const char* damaged : {"{\"hotkey\": ", "[1, 2]", "\xFF\xFE\x00"}) {
        write(damaged);
        const Config config(file, clock);
        EXPECT_EQ(config.get().hotkey, "ctrl_l");
        EXPECT_FALSE(onDisk()["device_id"].get<std::string>().empty());
        EXPECT_EQ(files::read(config.setAside().value()), std::string(damaged));
        EXPECT_FALSE(Config(file, clock).setAside());
    }
}

TEST_F(ConfigFile, AFileThatCannotBeReadIsLeftAloneAndToldOf) {
    fs::create_directories(file / "in the place of the file");
    Config config(file, clock);
    config.update([](Settings& settings) { settings.language = "fr"; });
    EXPECT_EQ(config.get().language, "fr") << "in memory";
    EXPECT_TRUE(fs::is_directory(file / "in the place of the file"));
    EXPECT_EQ(readSettings(file).fault->kind, SettingsFault::Kind::unreadable);
    fs::remove_all(file);

    EXPECT_FALSE(readSettings(file).fault.has_value()) << "a first start";
    write("{\n  \"hotkey\": ctrl_l\n}");
    const auto fault = readSettings(file).fault;
    ASSERT_TRUE(fault.has_value());
    EXPECT_EQ(fault->kind, SettingsFault::Kind::damaged);
    EXPECT_EQ(fault->message.rfind(file.string() + ": line 2, column 13: ", 0), 0u) << fault->message;
    EXPECT_EQ(fault->message.find('\n'), std::string::npos);
    EXPECT_TRUE(files::thoseSetAside(file).empty()) << "reading changes nothing";
}

TEST_F(ConfigFile, UpdateIsSeenAtOnceAndSaved) {
    Config config(file, clock);
    config.update([](Settings& settings) {
        settings.continuousMode = true;
        settings.customVocabulary = {"Fenlo", "東京"};
    });
    EXPECT_TRUE(config.get().continuousMode);
    EXPECT_EQ(load().customVocabulary, (std::vector<std::string>{"Fenlo", "東京"}));

    fs::remove_all(file.parent_path());
    config.update([](Settings& settings) { settings.language = "fr"; });
    EXPECT_EQ(load().language, "fr") << "the folder is made anew";
}
