// The compiled files: they are whole or absent, and are refused once they no longer match the checkpoint.

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/network/TinyCheckpoint.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Files.h"
#include "support/ScarceDisk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/file.h>
#include <unistd.h>

using namespace fenlo;
using namespace fenlo::whisper;
using namespace fenlo::test;
namespace fs = std::filesystem;

namespace {

class CompiledModel : public testing::Test {
protected:
    CompiledModel() : folder(files::temporaryFile("model-", "")) { TinyCheckpoint().write(folder); }

    void compile(const ModelComputeOptions& options = {}) { compileModel(folder, options, {}, {}); }

    std::string loadError(const ModelComputeOptions& options = {}) {
        try {
            loadMelSpectrogram(folder, options, pool);
            loadAudioEncoder(folder, options, pool);
            loadTextDecoder(folder, options, pool);
        } catch (const WhisperError& error) {
            EXPECT_EQ(error.kind, WhisperError::Kind::modelsUnavailable);
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
            return error.what();
        }
        return {};
    }

    std::set<std::string> names() const {
        std::set<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            found.insert(entry.path().filename());
        return found;
    }

    const std::set<std::string> checkpoint{"config.json", "model.safetensors"};
    const std::set<std::string> compiled{"AudioEncoder", "MelSpectrogram", "TextDecoder", "config.json",
                                         "model.safetensors"};
    static constexpr ComputeUnit wide = ComputeUnit::float32;
    const ModelComputeOptions float32{wide, wide, wide, wide};

    fs::path folder;
    ThreadPool pool{1};
};

} // namespace

TEST_F(CompiledModel, CompilesOnceForEachPrecisionAndReportsProgress) {
    EXPECT_FALSE(isCompiled(folder, {}));
    EXPECT_EQ(loadError(), "Model file not found at " + (folder / "MelSpectrogram").string());
    double last = 0;
    compileModel(folder, {},
                 [&](double done) {
                     EXPECT_GE(done, last);
                     last = done;
                 },
                 {});
    EXPECT_EQ(last, 1.0);
    EXPECT_EQ(names(), compiled);
    EXPECT_TRUE(isCompiled(folder, {}));
    EXPECT_FALSE(isCompiled(folder, float32));
    EXPECT_EQ(loadError(), "");

    compile(float32);
    EXPECT_TRUE(isCompiled(folder, {}));
    EXPECT_TRUE(isCompiled(folder, float32));
    EXPECT_EQ(loadError(float32), "");
    EXPECT_EQ(loadTextDecoder(folder, float32, pool)->kvCacheMaxSequenceLength(), 12); // less than 224
}

TEST_F(CompiledModel, AnotherCheckpointMakesItStale) {
    compile();
    const auto isStale = [&] {
        const bool refused = loadError().find("another checkpoint") != std::string::npos;
        return refused && !isCompiled(folder, {});
    };
    TinyCheckpoint(2).write(folder); // same sizes, other weights
    fs::last_write_time(folder / "model.safetensors", fs::file_time_type::clock::now() + std::chrono::seconds(5));
    EXPECT_TRUE(isStale());
    compile();
    EXPECT_EQ(loadError(), "");
    writeFile(folder / "generation_config.json", R"({"alignment_heads": [[0, 1]]})");
    EXPECT_TRUE(isStale());
    compile();
    EXPECT_TRUE(isCompiled(folder, {}));
}

TEST_F(CompiledModel, DamagedFilesAreRefused) {
    compile();
    const fs::path file = folder / "AudioEncoder";
    const std::string sound = files::read(file).value();
    const auto refused = [&](const std::string& content) {
        writeFile(file, content);
        const std::string line = loadError();
        EXPECT_NE(line.find("AudioEncoder"), std::string::npos) << line;
        EXPECT_NE(line.find("Compile the model again."), std::string::npos) << line;
        return !isCompiled(folder, {});
    };
    EXPECT_TRUE(refused(""));
    EXPECT_TRUE(refused("text"));
    EXPECT_TRUE(refused(sound.substr(0, 100)));
    EXPECT_TRUE(refused(sound.substr(0, 500)));
    EXPECT_TRUE(refused(sound.substr(0, sound.size() - 1)));
    EXPECT_TRUE(refused(sound + "x"));
    EXPECT_TRUE(refused(files::read(folder / "TextDecoder").value())); // another part
    for (std::size_t at = 0; at < 1000; at += 7) {                     // the header and the table
        std::string damaged = sound;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x41);
        EXPECT_TRUE(refused(damaged)) << at;
    }
    writeFile(file, sound);
    EXPECT_EQ(loadError(), "");
    fs::remove(file);
    fs::create_directory(file);
    EXPECT_NE(loadError(), "");
}

TEST_F(CompiledModel, AnothersFolderIsLeftAloneAndTheCacheServes) {
    const ModelPlace place = placeOf(folder, folder / "no models here", {});
    EXPECT_EQ(place.compiled.parent_path(), compiledCache());
    compileModel(place, {}, {}, {});
    EXPECT_EQ(names(), checkpoint);
    EXPECT_TRUE(isCompiled(place, {}));
    EXPECT_FALSE(isCompiled(folder, {}));
    EXPECT_NO_THROW(loadAudioEncoder(place, {}, pool));
    EXPECT_EQ(fs::status(place.compiled).permissions(), fs::perms::owner_all);
    EXPECT_EQ(placeOf(folder / ".", {}, {}).compiled, place.compiled) << "the same folder by another name";

    TinyCheckpoint(2).write(folder);
    fs::last_write_time(folder / "model.safetensors", fs::file_time_type::clock::now() + std::chrono::seconds(5));
    const ModelPlace newer = placeOf(folder, {}, {});
    EXPECT_NE(newer.compiled, place.compiled);
    compileModel(newer, {}, {}, {});
    EXPECT_FALSE(fs::exists(place.compiled)) << "files of the old checkpoint are removed";

    EXPECT_EQ(placeOf(folder, folder.parent_path(), {}).compiled, folder) << "one of our own models";
    compile();
    EXPECT_EQ(placeOf(folder, {}, {}).compiled, folder) << "compiled files beside the checkpoint serve";
    removeCached(folder);
    EXPECT_TRUE(fs::is_empty(compiledCache()));
}

TEST_F(CompiledModel, WhatAnInterruptedCompilationLeftIsRemoved) {
    writeFile(folder / "AudioEncoder.aB3xY9", "half");
    writeFile(folder / "AudioEncoder.kept", "another's");
    const int atWork = ::open((folder / "TextDecoder.Zz9876").c_str(), O_CREAT | O_RDWR, 0600);
    ASSERT_EQ(::flock(atWork, LOCK_EX), 0); // of a compilation beside this one
    compile();
    EXPECT_FALSE(fs::exists(folder / "AudioEncoder.aB3xY9"));
    EXPECT_TRUE(fs::exists(folder / "AudioEncoder.kept"));
    EXPECT_TRUE(fs::exists(folder / "TextDecoder.Zz9876"));
    ::close(atWork);
}

TEST_F(CompiledModel, StopLeavesNothingBehind) {
    for (const ModelComputeOptions& options : {ModelComputeOptions{}, float32}) {
        std::stop_source stop;
        try {
            // Somewhere in the second file.
            compileModel(
                folder, options, [&](double done) { done > 0.8 && stop.request_stop(); }, stop.get_token());
            ADD_FAILURE();
        } catch (const WhisperError& error) {
            EXPECT_EQ(error.kind, WhisperError::Kind::cancelled);
        }
        EXPECT_FALSE(isCompiled(folder, options));
        EXPECT_EQ(names(), checkpoint);
    }
}

TEST_F(CompiledModel, FullDiskLeavesNothingBehindAndTellsSo) {
    {
        const ScarceDisk disk(1024);
        try {
            compile(float32);
            ADD_FAILURE();
        } catch (const WhisperError& error) {
            EXPECT_NE(std::string(error.what()).find("MelSpectrogram"), std::string::npos) << error.what();
        }
    }
    EXPECT_EQ(names(), checkpoint);
    compile(); // works again
    EXPECT_TRUE(isCompiled(folder, {}));
}

TEST_F(CompiledModel, UnusableWeightsAreRefusedBeforeAnythingIsWritten) {
    const auto refusal = [&](const TinyCheckpoint& checkpointOfTest) {
        checkpointOfTest.write(folder);
        try {
            compile();
        } catch (const WhisperError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    TinyCheckpoint lacking;
    lacking.tensors.pop_back();
    EXPECT_NE(refusal(lacking).find("decoder.layer_norm.bias"), std::string::npos);
    TinyCheckpoint odd;
    odd.tensors[0].shape = {8, 3, 8};
    EXPECT_NE(refusal(odd).find("encoder.conv1.weight"), std::string::npos);
    TinyCheckpoint integers;
    integers.tensors[1].type = "I16";
    EXPECT_NE(refusal(integers).find("encoder.conv1.bias"), std::string::npos);
    TinyCheckpoint cut;
    cut.tensors.back().data.resize(3);
    EXPECT_NE(refusal(cut), "");
    EXPECT_EQ(names(), checkpoint);

    TinyCheckpoint infinite;
    infinite.tensors[0].data.replace(4, 2, "\x00\x7C", 2);
    EXPECT_NE(refusal(infinite).find("no numbers"), std::string::npos);
    EXPECT_FALSE(names().contains("AudioEncoder"));

    EXPECT_THROW(compileModel(fs::path(), {}, {}, {}), WhisperError);
    EXPECT_THROW(loadAudioEncoder(fs::path(), {}, pool), WhisperError);
    EXPECT_FALSE(isCompiled(folder / "nowhere", {}));
}
