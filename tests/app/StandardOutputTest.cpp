#include "app/StandardOutput.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <unistd.h>

using namespace fenlo;
using testing::HasSubstr;

namespace {

/// What a print says of standard output being `descriptor`; empty where it was written.
std::string faultOf(int descriptor, const std::function<void()>& work) {
    const int saved = ::dup(STDOUT_FILENO);
    ::dup2(descriptor, STDOUT_FILENO);
    std::string fault;
    try {
        work();
    } catch (const OutputError& error) {
        fault = error.what();
    }
    ::dup2(saved, STDOUT_FILENO);
    ::close(saved);
    return fault;
}

} // namespace

TEST(StandardOutput, TellsOfEveryWriteThatFails) {
    std::signal(SIGPIPE, SIG_IGN);
    const int full = ::open("/dev/full", O_WRONLY);
    EXPECT_THAT(faultOf(full, [] { print("a"); }), HasSubstr("No space left"));
    EXPECT_THAT(faultOf(full, [] { printFormatted("%d\n", 7); }), HasSubstr("No space left"));
    ::close(full);
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    EXPECT_EQ(faultOf(ends[1], [] { printFormatted("%s, %5.1f\n", "one", 2.0); }), "");
    char read[32];
    EXPECT_EQ(std::string(read, static_cast<std::size_t>(::read(ends[0], read, sizeof read))), "one,   2.0\n");
    ::close(ends[0]);
    EXPECT_THAT(faultOf(ends[1], [] { print("a"); }), HasSubstr("Broken pipe"));
    ::close(ends[1]);
}
