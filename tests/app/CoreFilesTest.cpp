#include "app/CoreFiles.h"

#include "support/TemporaryFolder.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace fenlo;

TEST(CoreFiles, ACrashLeavesNone) {
    const test::TemporaryFolder folder;
    const pid_t child = ::fork();
    if (child == 0) {
        rlimit all{};
        ::getrlimit(RLIMIT_CORE, &all);
        all.rlim_cur = all.rlim_max; // as where somebody collects core files
        ::setrlimit(RLIMIT_CORE, &all);
        leaveNoCoreFiles();
        const bool isThere = ::chdir(folder.path.c_str()) == 0 && ::getrlimit(RLIMIT_CORE, &all) == 0;
        if (!isThere || all.rlim_cur > 1)
            ::_exit(1);
        std::signal(SIGSEGV, SIG_DFL); // a sanitizer would end it otherwise
        ::kill(::getpid(), SIGSEGV);
        ::_exit(2);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
    EXPECT_EQ(WTERMSIG(status), SIGSEGV);
    EXPECT_FALSE(WCOREDUMP(status));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}
