#include "base/Log.h"
#include "base/Files.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace fenlo;

TEST(Log, AppendsEachLineAndBeginsADeletedFileAnew) {
    std::filesystem::remove_all(logFile().parent_path());
    logInfo("first — → ü");
    logInfo("second");
    EXPECT_EQ(files::read(logFile()), "[Fenlo] first — → ü\n[Fenlo] second\n");
    std::filesystem::remove(logFile());
    logError("third of {}", "{3}");
    EXPECT_EQ(files::read(logFile()), "[Fenlo] ERROR: third of {3}\n");
    EXPECT_EQ(std::filesystem::status(logFile()).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(Log, LinesOfSeveralThreadsNeverMix) {
    std::filesystem::remove(logFile());
    std::vector<std::jthread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([writer] {
            for (int i = 0; i < 50; ++i)
                logInfo("{}", std::string(192, static_cast<char>('a' + writer)));
        });
    writers.clear();
    const std::string content = files::read(logFile()).value();
    ASSERT_EQ(content.size(), 4u * 50u * 201u);
    for (std::size_t at = 0; at < content.size(); at += 201)
        EXPECT_EQ(content.substr(at, 201), "[Fenlo] " + std::string(192, content[at + 8]) + "\n");
}

TEST(Log, FailureToWriteIsSilent) {
    const std::filesystem::path folder = logFile().parent_path();
    std::filesystem::remove_all(folder);
    ASSERT_TRUE(files::writeAtomically(folder, "a file where the folder should be"));
    EXPECT_NO_THROW(logInfo("lost"));
    std::filesystem::remove(folder);
}
