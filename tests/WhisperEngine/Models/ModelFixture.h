#pragma once

#include "base/Files.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace fenlo::test {

inline void writeFile(const std::filesystem::path& file, const std::string& content) {
    std::filesystem::create_directories(file.parent_path());
    ASSERT_TRUE(files::writeAtomically(file, content));
}

/// A folder with models for one test.
class ModelFixture : public testing::Test {
protected:
    void install(const std::string& name) const {
        for (const char* file : {"config.json", "tokenizer.json", "model.safetensors"})
            writeFile(base / name / file, "{}");
    }

    const TemporaryFolder root;
    const std::filesystem::path base = root / "models";
};

} // namespace fenlo::test
