#include "base/Log.h"
#include "base/Files.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace fenlo;

TEST(Log, AppendsEachLineAndBeginsADeletedFileAnew) {
    std::filesystem::remove_all(logFile().parent_path());
    log("[Fenlo] first — → ü");
    log("[Fenlo] second");
    EXPECT_EQ(files::read(logFile()), "[Fenlo] first — → ü\n[Fenlo] second\n");
    std::filesystem::remove(logFile());
    log("third");
    EXPECT_EQ(files::read(logFile()), "third\n");
    EXPECT_EQ(std::filesystem::status(logFile()).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(Log, LinesOfSeveralThreadsNeverMix) {
    std::filesystem::remove(logFile());
    std::vector<std::jthread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([writer] {
            for (int i = 0; i < 50; ++i)
                log(std::string(200, static_cast<char>('a' + writer)));
        });
    writers.clear();
    const std::string content = files::read(logFile()).value();
    ASSERT_EQ(content.size(), 4u * 50u * 201u);
    for (std::size_t at = 0; at < content.size(); at += 201)
        EXPECT_EQ(content.substr(at, 201), std::string(200, content[at]) + "\n");
}

TEST(Log, FailureToWriteIsSilent) {
    const std::filesystem::path folder = logFile().parent_path();
    std::filesystem::remove_all(folder);
    ASSERT_TRUE(files::writeAtomically(folder, "a file where the folder should be"));
    EXPECT_NO_THROW(log("lost"));
    std::filesystem::remove(folder);
}
