#include "WhisperEngine/Models/LocalModels.h"

#include "ModelFixture.h"
#include "WhisperEngine/Models/CheckpointFiles.h"
#include "WhisperEngine/WhisperError.h"

using namespace fenlo;
using namespace fenlo::test;
using namespace fenlo::whisper;

namespace fs = std::filesystem;

class LocalModels : public ModelFixture {};

TEST_F(LocalModels, ListsWhatIsThere) {
    EXPECT_TRUE(listLocalModels(base).empty()) << "no folder yet";
    install("b-model");
    for (const char* file : {"MelSpectrogram", "AudioEncoder", "TextDecoder"})
        writeFile(base / "b-model" / file, std::string(1000, 'x'));
    writeFile(base / "a-broken/config.json", "{}");
    writeFile(base / "a-broken/tokenizer.json", "{}");
    writeFile(base / "a-broken/model.safetensors", "");
    writeFile(base / ".partial/c-model/config.json", "{}");
    writeFile(base / "a file", "no model");

    const auto models = listLocalModels(base);
    ASSERT_EQ(models.size(), 2u);
    EXPECT_EQ(models[0].name, "a-broken");
    EXPECT_FALSE(models[0].complete) << "its weights are empty";
    EXPECT_FALSE(models[0].compiled);
    EXPECT_EQ(models[1].name, "b-model");
    EXPECT_TRUE(models[1].complete);
    EXPECT_TRUE(models[1].compiled);
    EXPECT_EQ(models[1].bytes, 3006u);
}

TEST_F(LocalModels, AShardedCheckpointNeedsEveryShard) {
    writeFile(base / "config.json", "{}");
    writeFile(base / "tokenizer.json", "{}");
    EXPECT_EQ(missingCheckpointFile(base), "model.safetensors");
    writeFile(base / "model.safetensors.index.json",
              R"({"weight_map": {"a": "model-00001-of-00002.safetensors", "b": "model-00002-of-00002.safetensors"}})");
    writeFile(base / "model-00001-of-00002.safetensors", "1");
    EXPECT_EQ(missingCheckpointFile(base), "model-00002-of-00002.safetensors");
    writeFile(base / "model-00002-of-00002.safetensors", "2");
    EXPECT_EQ(missingCheckpointFile(base), std::nullopt);
    for (const char* broken : {"no JSON", "{}", R"({"weight_map": {}})", R"({"weight_map": {"a": 1}})",
                               R"({"weight_map": {"a": "../config.json"}})"}) {
        writeFile(base / "model.safetensors.index.json", broken);
        EXPECT_EQ(missingCheckpointFile(base), "model.safetensors.index.json") << broken;
    }
}

TEST_F(LocalModels, RemovesOneModelAndNothingElse) {
    install("one");
    install("two");
    writeFile(base / ".partial/one/config.json", "{}");
    const fs::path outside = fs::path(base.string() + "-outside");
    writeFile(outside / "precious", "data");
    fs::create_directory_symlink(outside, base / "link");

    EXPECT_TRUE(removeLocalModel(base, "one"));
    EXPECT_FALSE(fs::exists(base / "one"));
    EXPECT_FALSE(fs::exists(base / ".partial/one"));
    EXPECT_FALSE(removeLocalModel(base, "one"));
    EXPECT_TRUE(removeLocalModel(base, "link"));
    EXPECT_TRUE(fs::exists(outside / "precious"));
    for (const char* name : {"", ".", "..", ".partial", "../two", "two/config.json", "/etc"})
        EXPECT_THROW(removeLocalModel(base, name), WhisperError) << name;
    EXPECT_TRUE(fs::exists(base / "two/config.json"));
    fs::remove_all(outside);
}
