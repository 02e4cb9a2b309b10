#include "base/ChildProcess.h"
#include "base/ChildOutput.h"
#include "base/Descriptor.h"
#include "base/Files.h"
#include "support/EnvironmentVariable.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

using namespace fenlo;

TEST(ChildProcess, ReadsNothing_IsBlockedInNoSignal_AndSeesNoFileAndNoKeyOfOurs) {
    const test::EnvironmentVariable key("GROQ_API_KEY", "gsk_secret");
    const test::EnvironmentVariable other("FENLO_TEST_VARIABLE", "passed on");
    const auto file = files::temporaryFile("child-", ".txt");
    const Descriptor output(::open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    const Descriptor ours(::fcntl(output.number(), F_DUPFD, 40)); // open on exec
    sigset_t blocked, before;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    pid_t process = 0;
    const int error = startChild({"sh", "-c",
                                  "cat; grep SigBlk /proc/self/status >&2; test -e /proc/self/fd/40 || echo closed; "
                                  "echo $GROQ_API_KEY$FENLO_TEST_VARIABLE"},
                                 {.output = output.number(), .complaints = output.number()}, process);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_EQ(error, 0);
    int status = 0;
    ASSERT_EQ(::waitpid(process, &status, 0), process);
    EXPECT_EQ(files::read(file), "SigBlk:\t0000000000000000\nclosed\npassed on\n");
    files::removeQuietly(file);
}

TEST(ChildProcess, AProgramThatIsNotThereIsToldByItsErrorNumber) {
    pid_t process = 0;
    EXPECT_EQ(startChild({"no-such-program-here"}, {}, process), ENOENT);
}

TEST(ChildOutput, IsWhatAProgramWritesUntilItsEnd_AndNothingWhereItHasNone) {
    const auto output = outputOf({"sh", "-c", "echo one; sleep 0.1; echo two; exit 3"}, 20, {});
    ASSERT_TRUE(output);
    EXPECT_EQ(output->text, "one\ntwo\n");
    EXPECT_EQ(output->exitStatus, 3);
    EXPECT_EQ(outputOf({"sh", "-c", "kill -9 $$"}, 20, {}).value().exitStatus, -1);
    EXPECT_FALSE(outputOf({"no-such-program-here"}, 20, {}));
    EXPECT_FALSE(outputOf({"sleep", "600"}, 0.01, {}));
    EXPECT_FALSE(outputOf({"yes"}, 20, {})) << "it writes without an end";
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(outputOf({"sleep", "600"}, 600, stop.get_token()));
}
