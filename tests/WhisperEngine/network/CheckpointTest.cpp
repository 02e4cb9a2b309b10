// Checkpoints from outside: sound ones are read, and all others end in one line that tells what is wrong, and where.

#include "WhisperEngine/network/Checkpoint.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/ModelConfig.h"
#include "WhisperEngine/network/TinyCheckpoint.h"
#include "WhisperEngine/runtime/HalfFloat.h"
#include "base/Files.h"
#include "base/Json.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::whisper;
using namespace fenlo::test;
namespace fs = std::filesystem;

namespace {

/// The line of the error, or nothing.
template <class Action>
std::string errorOf(const Action& action) {
    try {
        action();
    } catch (const WhisperError& error) {
        EXPECT_EQ(error.kind, WhisperError::Kind::modelsUnavailable);
        const std::string line = error.what();
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
        return line;
    }
    return {};
}

std::string errorOfBytes(const std::string& content) {
    return errorOf([&] { SafeTensors(std::as_bytes(std::span(content)), "weights"); });
}

std::string errorOfHeader(const std::string& header, std::size_t dataSize = 64) {
    return errorOfBytes(safeTensors(header, std::string(dataSize, 'x')));
}

fs::path newFolder() {
    const fs::path folder = files::temporaryFile("model-", "");
    fs::create_directory(folder);
    return folder;
}

std::string errorOfConfig(const std::string& config, const std::string& generation = "{}") {
    const fs::path folder = newFolder();
    writeFile(folder / "config.json", config);
    writeFile(folder / "generation_config.json", generation);
    return errorOf([&] { readModelConfig(folder); });
}

std::string tinyConfigWith(const std::string& field, const nlohmann::json& value) {
    nlohmann::json config = parseJson(TinyCheckpoint().config);
    config[field] = value;
    return writeJson(config);
}

} // namespace

TEST(HalfFloat, EveryPatternWidensAsTheStandardSays) {
    for (unsigned bits = 0; bits < 0x10000; ++bits) {
        const int exponent = static_cast<int>(bits >> 10 & 0x1F), mantissa = static_cast<int>(bits & 0x3FF);
        double expected = exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(1024 + mantissa, exponent - 25);
        if (exponent == 31)
            expected = mantissa ? NAN : INFINITY;
        if (bits & 0x8000)
            expected = -expected;
        const float actual = floatFromHalf(static_cast<std::uint16_t>(bits));
        if (std::isnan(expected))
            ASSERT_TRUE(std::isnan(actual)) << bits;
        else
            ASSERT_EQ(actual, static_cast<float>(expected)) << bits;
        ASSERT_EQ(std::signbit(actual), (bits & 0x8000) != 0) << bits;
    }
    EXPECT_EQ(floatFromBrainHalf(0x3F80), 1.0f);
    EXPECT_EQ(floatFromBrainHalf(0xC040), -3.0f);
}

TEST(SafeTensors, ReadsEachTypeAtAnyAlignment) {
    const std::string content =
        safeTensors(R"({"__metadata__":{"format":"pt"},"pad":{"dtype":"U8","shape":[1],"data_offsets":[0,1]},)"
                    R"("half":{"dtype":"F16","shape":[2],"data_offsets":[1,5]},)"
                    R"("brain":{"dtype":"BF16","shape":[1,1],"data_offsets":[5,7]},)"
                    R"("full":{"dtype":"F32","shape":[],"data_offsets":[7,11]},)"
                    R"("none":{"dtype":"F32","shape":[0,5],"data_offsets":[7,7]}})",
                    std::string("?\x00\x3C\x00\xC0\x40\x40\x00\x00\x80\x3F", 11));
    const SafeTensors file(std::as_bytes(std::span(content)), "weights");
    ASSERT_EQ(file.tensors().size(), 5u);
    std::vector<float> values(1);
    widen(*file.find("half"), 1, values);
    EXPECT_EQ(values[0], -2.0f);
    widen(*file.find("brain"), 0, values);
    EXPECT_EQ(values[0], 3.0f);
    widen(*file.find("full"), 0, values);
    EXPECT_EQ(values[0], 1.0f);
    EXPECT_EQ(file.find("pad")->type, SafeTensors::Type::other);
    EXPECT_EQ(file.find("other"), nullptr);
}

TEST(SafeTensors, HostileFilesAreRefusedInOneLine) {
    EXPECT_NE(errorOfBytes(""), "");
    EXPECT_NE(errorOfBytes("short"), "");
    EXPECT_NE(errorOfBytes(std::string(8, '\xFF') + "{}"), "");           // a header of 2^64 - 1 bytes
    EXPECT_NE(errorOfBytes(std::string("\x10\0\0\0\0\0\0\0{}", 10)), ""); // longer than the file
    EXPECT_NE(errorOfHeader("["), "");
    EXPECT_NE(errorOfHeader("[]"), "");
    EXPECT_NE(errorOfHeader("\xFF{}"), "");
    EXPECT_NE(errorOfHeader(std::string(100'000, '[')), "");
    EXPECT_NE(errorOfHeader(R"({"x":)" + std::string(20, '[') + std::string(20, ']') + "}"), "");
    EXPECT_NE(errorOfHeader(R"({"x":5})"), "");
    EXPECT_NE(errorOfHeader(R"({"x":{"dtype":"F32","shape":[2]}})"), "");
    EXPECT_EQ(errorOfHeader(R"({"x":{"dtype":"F32","shape":[2],"data_offsets":[0,8]}})"), "");

    const auto entry = [](const std::string& shape, const std::string& offsets) {
        return R"("x":{"dtype":"F32","shape":[)" + shape + R"(],"data_offsets":[)" + offsets + "]}";
    };
    for (const auto& [shape, offsets] : std::vector<std::pair<std::string, std::string>>{
             {"2", "8,0"},                                          // backwards
             {"2", "60,68"},                                        // past the end
             {"2", "-8,0"},                                         //
             {"2", "0,8.0"},                                        //
             {"2", "0,18446744073709551616"},                       // beyond 64 bits
             {"3", "0,8"},                                          // another length
             {"4611686018427387905,4", "0,16"},                     // a product that overflows to 16
             {"-1", "0,4"},                                         //
             {"1,1,1,1,1,1,1,1,1", "0,4"},                          // too many dimensions
             {"2", "18446744073709551608,18446744073709551615"}}) { //
        const std::string line = errorOfHeader("{" + entry(shape, offsets) + "}");
        EXPECT_NE(line, "") << shape << " at " << offsets;
    }
    EXPECT_NE(errorOfHeader("{" + entry("2", "0,8") + "," + entry("2", "8,16") + "}").find("twice"), std::string::npos);
    EXPECT_NE(errorOfHeader("{" + entry("2", "0,8") + R"(,"y":{"dtype":"F32","shape":[2],"data_offsets":[4,12]}})")
                  .find("overlap"),
              std::string::npos);
    // A name with a line break cannot break the line.
    EXPECT_NE(errorOfHeader(R"({"a\nb":{"dtype":"F32","shape":[2],"data_offsets":[0,9]}})"), "");
}

TEST(Checkpoint, FindsTensorsInShards) {
    const fs::path folder = newFolder();
    TinyCheckpoint tiny;
    const auto middle = tiny.tensors.begin() + 20;
    writeFile(folder / "a.safetensors", TinyCheckpoint::pack({tiny.tensors.begin(), middle}));
    writeFile(folder / "b.safetensors", TinyCheckpoint::pack({middle, tiny.tensors.end()}));
    nlohmann::json index;
    for (auto tensor = tiny.tensors.begin(); tensor != tiny.tensors.end(); ++tensor)
        index["weight_map"][tensor->name] = tensor < middle ? "a.safetensors" : "b.safetensors";
    const fs::path indexFile = folder / "model.safetensors.index.json";
    writeFile(indexFile, writeJson(index));

    const Checkpoint checkpoint(folder);
    EXPECT_EQ(checkpoint.tensor("encoder.conv1.weight", {8, 8, 3}).type, SafeTensors::Type::float16);
    EXPECT_EQ(checkpoint.tensor("decoder.layer_norm.bias", {8}).type, SafeTensors::Type::float32);
    for (const auto& [name, type, shape, data] : tiny.tensors)
        EXPECT_TRUE(std::ranges::equal(checkpoint.tensor(name, shape).data, std::as_bytes(std::span(data)))) << name;
    const auto wrongShape = errorOf([&] { checkpoint.tensor("encoder.conv1.weight", {8, 3, 8}); });
    EXPECT_NE(wrongShape.find("[8,8,3]"), std::string::npos) << wrongShape;
    EXPECT_NE(errorOf([&] { checkpoint.tensor("decoder.proj", {8}); }).find("decoder.proj"), std::string::npos);

    for (const char* escape : {"../a.safetensors", "/etc/passwd", "a.bin", ""}) {
        writeFile(indexFile, writeJson(nlohmann::json{{"weight_map", {{"x", escape}}}}));
        EXPECT_NE(errorOf([&] { Checkpoint{folder}; }).find("neighbour"), std::string::npos) << escape;
    }
    writeFile(indexFile, R"({"weight_map": {"x": "lost.safetensors"}})");
    EXPECT_EQ(errorOf([&] { Checkpoint{folder}; }),
              "Model file not found at " + (folder / "lost.safetensors").string());
    fs::remove(indexFile);
    EXPECT_EQ(errorOf([&] { Checkpoint{folder}; }),
              "Model file not found at " + (folder / "model.safetensors").string());
}

TEST(ModelConfig, KnowsThePublishedSizesAndTheDefaults) {
    nlohmann::json large = parseJson(TinyCheckpoint().config);
    large.update({{"d_model", 1280},
                  {"encoder_layers", 32},
                  {"encoder_attention_heads", 20},
                  {"encoder_ffn_dim", 5120},
                  {"decoder_layers", 2},
                  {"decoder_attention_heads", 20},
                  {"decoder_ffn_dim", 5120},
                  {"num_mel_bins", 128},
                  {"vocab_size", 51866},
                  {"max_source_positions", 1500},
                  {"max_target_positions", 448}});
    const fs::path folder = newFolder();
    writeFile(folder / "config.json", writeJson(large));
    ModelConfig config = readModelConfig(folder);
    EXPECT_EQ(config.architecture.melFrames(), 3000);
    EXPECT_EQ(config.alignmentHeads.size(), 20u); // the upper of the two layers
    EXPECT_EQ(config.alignmentHeads.front().layer, 1);
    EXPECT_EQ(ModelArchitecture::fromNumbers(config.architecture.numbers(), ""), config.architecture);

    writeFile(folder / "generation_config.json", R"({"alignment_heads": [[1, 3], [0, 19]]})");
    config = readModelConfig(folder);
    EXPECT_EQ(config.alignmentHeads.size(), 2u);
    EXPECT_EQ(config.alignmentHeads[1].head, 19);
}

TEST(ModelConfig, WhatDoesNotFitIsRefusedWithItsName) {
    for (const auto& [field, value] :
         std::vector<std::pair<const char*, nlohmann::json>>{{"d_model", 0},
                                                             {"d_model", -8},
                                                             {"d_model", 1e9},
                                                             {"d_model", "8"},
                                                             {"vocab_size", nullptr},
                                                             {"encoder_layers", 100'000'000'000},
                                                             {"num_mel_bins", 18'446'744'073'709'551'615u},
                                                             {"max_source_positions", 1}})
        EXPECT_NE(errorOfConfig(tinyConfigWith(field, value)).find(field), std::string::npos) << field << value;
    EXPECT_NE(errorOfConfig(tinyConfigWith("decoder_attention_heads", 3)), "");
    EXPECT_NE(errorOfConfig(tinyConfigWith("model_type", "bert")), "");
    EXPECT_NE(errorOfConfig(tinyConfigWith("tie_word_embeddings", false)), "");
    EXPECT_NE(errorOfConfig("{\"d_model\": 8"), "");
    EXPECT_NE(errorOfConfig(""), "");
    for (const char* heads : {"[[1,0]]", "[[0,2]]", "[[0]]", "[0]", "[[0,-1]]", "[[0,0],[0,1],[0,0]]"})
        EXPECT_NE(errorOfConfig(TinyCheckpoint().config, R"({"alignment_heads": )" + std::string(heads) + "}"), "")
            << heads;
    const fs::path nowhere = newFolder();
    EXPECT_EQ(errorOf([&] { readModelConfig(nowhere); }),
              "Model file not found at " + (nowhere / "config.json").string());
}
