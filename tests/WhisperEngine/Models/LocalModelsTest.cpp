#include "WhisperEngine/Models/LocalModels.h"

#include "ModelFixture.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/CheckpointFiles.h"

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
    EXPECT_EQ(models[0].fault, "lacks model.safetensors") << "its weights are empty";
    EXPECT_FALSE(models[0].compiled);
    EXPECT_EQ(models[1].name, "b-model");
    EXPECT_TRUE(models[1].isComplete());
    EXPECT_TRUE(models[1].compiled);
    EXPECT_EQ(models[1].bytes, 3006u);
}

TEST_F(LocalModels, AShardedCheckpointNeedsEveryShard) {
    writeFile(base / "config.json", "{}");
    writeFile(base / "tokenizer.json", "{}");
    EXPECT_EQ(checkpointFault(base), "lacks model.safetensors");
    const fs::path index = base / "model.safetensors.index.json";
    writeFile(index, R"({"weight_map": {"a": "one.safetensors", "b": "two.safetensors"}})");
    writeFile(base / "one.safetensors", "1");
    EXPECT_EQ(checkpointFault(base), "lacks two.safetensors");
    writeFile(base / "two.safetensors", "2");
    EXPECT_EQ(checkpointFault(base), std::nullopt);
    writeFile(base / "model.safetensors", "");
    EXPECT_EQ(checkpointFault(base), "lacks model.safetensors") << "which the network would read";
}

TEST_F(LocalModels, AnIndexThatTheNetworkRefusesMakesNoCheckpoint) {
    writeFile(base / "config.json", "{}");
    writeFile(base / "tokenizer.json", "{}");
    writeFile(base / "a.safetensors", "1");
    const fs::path index = base / "model.safetensors.index.json";
    for (const auto& [text, fault] : std::vector<std::pair<std::string, std::string>>{
             {"no JSON", " is not valid JSON at byte 2"},
             {"[]", " is not a JSON object"},
             {"{}", " names no weights, or too many files"},
             {R"({"weight_map": {}})", " names no weights, or too many files"},
             {R"({"weight_map": {"a": "a.safetensors"}, "weight_map": {}})", " has \"weight_map\" twice in one place"},
             {R"({"weight_map": {"a": 1}})", " names a file that is no neighbour"},
             {R"({"weight_map": {"a": "config.json"}})", " names a file that is no neighbour"},
             {R"({"weight_map": {"a": "../a.safetensors"}})", " names a file that is no neighbour"}}) {
        writeFile(index, text);
        EXPECT_EQ(checkpointFault(base), "is damaged: " + index.string() + fault);
    }
}

TEST_F(LocalModels, RemovesOneModelAndNothingElse) {
    install("one");
    install("two");
    writeFile(base / ".partial/one/config.json", "{}");
    const fs::path outside = root / "outside";
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
}
