#include "platform/linux/desktop/session/ControlSocket.h"

#include "base/Guarded.h"
#include "platform/linux/control/ControlClient.h"
#include "platform/linux/control/LocalSocket.h"
#include "support/LogCapture.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace fenlo;
using State = ControlAnswer::State;
namespace fs = std::filesystem;

namespace {

class ControlSocketTest : public ::testing::Test {
protected:
    void open() {
        socket = ControlSocket::open(file, [this](const std::string& line, ControlSocket::Answer answer) {
            lines.with([&](auto& all) { all.push_back(line); });
            if (line != "silence")
                answer("heard " + line);
        });
        ASSERT_TRUE(socket);
    }
    ControlAnswer say(const std::string& line) { return order(file, line, 10); }
    std::vector<std::string> heard() {
        return lines.with([](auto& all) { return all; });
    }
    /// Whether the other side hangs up within the patience of the test.
    static bool isHungUp(const LocalSocket& client) {
        return test::waitUntil(10, [&] {
            char byte;
            const auto count = ::recv(client.number(), &byte, 1, MSG_DONTWAIT);
            return count == 0 || (count < 0 && errno != EAGAIN);
        });
    }
    static void send(const LocalSocket& client, const std::string& text) {
        ::send(client.number(), text.data(), text.size(), MSG_NOSIGNAL);
    }

    const test::TemporaryFolder folder;
    const fs::path file = folder / "control.socket";
    Guarded<std::vector<std::string>> lines;
    std::unique_ptr<ControlSocket> socket;
};

/// In a process of its own, which becomes another user. Told apart from a socket that cannot be reached at all.
bool isRefusedAsNobody(const fs::path& file) {
    constexpr uid_t nobody = 65534;
    sockaddr_un address{AF_UNIX, "control.socket"};
    const int number = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (::chdir(file.parent_path().c_str()) != 0 || ::setuid(nobody) != 0 ||
        ::connect(number, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        return false;
    ::send(number, "press\n", 6, MSG_NOSIGNAL);
    char byte;
    return ::recv(number, &byte, 1, 0) <= 0;
}

} // namespace

TEST_F(ControlSocketTest, AnswersEachLineInTheOrderOfArrival) {
    EXPECT_EQ(say("press").state, State::notRunning);
    open();
    struct stat status {};
    ::stat(file.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    std::vector<std::string> said;
    for (int i = 0; i < 40; ++i) {
        said.push_back(i % 2 == 0 ? "press" : "release");
        EXPECT_EQ(say(said.back()).line, "heard " + said.back());
    }
    EXPECT_EQ(heard(), said);
    socket.reset();
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(say("press").state, State::notRunning);
}

TEST_F(ControlSocketTest, TheSocketOfACrashedRunIsReplaced) {
    {
        const LocalSocket crashed(file); // leaves its file
        ASSERT_TRUE(crashed.listen(1));
    }
    EXPECT_EQ(say("press").state, State::notRunning);
    open();
    EXPECT_EQ(say("press").state, State::answered);
}

TEST_F(ControlSocketTest, SilentAndHostileClientsHoldUpNobody) {
    open();
    std::vector<std::unique_ptr<LocalSocket>> silent;
    for (std::size_t i = 0; i < ControlSocket::mostClients + 4; ++i) {
        silent.push_back(std::make_unique<LocalSocket>(file));
        ASSERT_TRUE(silent.back()->connect());
        send(*silent.back(), "pre");
    }
    const LocalSocket talker(file);
    ASSERT_TRUE(talker.connect());
    send(talker, std::string(100000, 'x'));
    EXPECT_TRUE(isHungUp(talker));
    EXPECT_EQ(say("press").line, "heard press");
    EXPECT_TRUE(isHungUp(*silent.front())); // there was no room for all
    send(*silent.back(), "ss\nrelease\n");
    EXPECT_TRUE(test::waitUntil(10, [&] { return heard().size() == 2; }));
    EXPECT_EQ(heard().back(), "press") << "in two parts, and one order only";
}

TEST_F(ControlSocketTest, AClientThatSaysNothingIsSentAwayInTime) {
    open();
    const LocalSocket client(file);
    ASSERT_TRUE(client.connect());
    EXPECT_TRUE(isHungUp(client));
}

TEST_F(ControlSocketTest, AnOrderWithoutAnswerEndsInTime) {
    open();
    EXPECT_EQ(say("silence").state, State::silent);
    EXPECT_EQ(say("press").state, State::answered);
}

TEST_F(ControlSocketTest, OtherUsersAreNotHeard) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only the superuser can be somebody else";
    open();
    fs::permissions(folder.path, fs::perms::all);
    fs::permissions(file, fs::perms::all);
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(isRefusedAsNobody(file) ? 0 : 1);
    int status = 1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(heard().empty());
}

TEST_F(ControlSocketTest, AFolderThatIsGoneIsLogged) {
    const test::LogCapture log;
    EXPECT_FALSE(ControlSocket::open(folder / "missing" / "control.socket", {}));
    EXPECT_THAT(log.lines(), ::testing::Contains(::testing::HasSubstr("fenlo trigger")));
}
