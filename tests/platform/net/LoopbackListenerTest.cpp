// What every loopback listener does, tried on the fake and on real sockets; and what only real clients can do to it.

#include "base/Background.h"
#include "base/Descriptor.h"
#include "platform/PumpedQueue.h"
#include "platform/linux/net/SocketLoopbackListener.h"
#include "support/FakeLoopbackListener.h"
#include "support/VirtualTime.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <vector>

using namespace fenlo;
using namespace fenlo::test;

namespace {

/// A client of a listener on this machine.
class Caller {
public:
    explicit Caller(std::uint16_t port, std::uint32_t host = INADDR_LOOPBACK)
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(host);
        m_isConnected = ::connect(m_socket.number(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        ::fcntl(m_socket.number(), F_SETFL, O_NONBLOCK);
    }

    bool isConnected() const { return m_isConnected; }
    void say(const std::string& bytes) const { ::send(m_socket.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL); }
    /// Whether the other end has closed; `answer` has what came until then.
    bool isClosed() {
        char bytes[4096];
        ssize_t count = 0;
        while ((count = ::recv(m_socket.number(), bytes, sizeof bytes, 0)) > 0)
            answer.append(bytes, std::size_t(count));
        return count == 0 || errno != EAGAIN;
    }

    std::string answer;

private:
    const Descriptor m_socket;
    bool m_isConnected = false;
};

/// The real listener.
struct SocketClients {
    PumpedQueue queue;
    ThreadBackground background;
    std::unique_ptr<LoopbackListener> listener = std::make_unique<SocketLoopbackListener>(queue, background);

    bool runUntil(const std::function<bool()>& condition) { return queue.runUntil(condition); }
    std::optional<std::string> exchange(std::uint16_t port, const std::string& bytes) {
        Caller caller(port);
        if (!caller.isConnected())
            return std::nullopt;
        caller.say(bytes);
        EXPECT_TRUE(queue.runUntil([&] { return caller.isClosed(); }));
        return caller.answer;
    }
};

struct FakeClients {
    VirtualClock clock;
    VirtualMainQueue queue{clock};
    std::unique_ptr<FakeLoopbackListener> listener = std::make_unique<FakeLoopbackListener>(queue);

    bool runUntil(const std::function<bool()>& condition) {
        queue.runPosted();
        return condition();
    }
    std::optional<std::string> exchange(std::uint16_t port, const std::string& bytes) {
        return port == listener->port ? listener->send(bytes) : std::nullopt;
    }
};

template <typename World>
class LoopbackContract : public ::testing::Test, protected World {
protected:
    std::uint16_t begin() {
        port = 0;
        EXPECT_EQ(this->listener->start({.onReady = [this](std::uint16_t given) { port = given; },
                                         .onRequest =
                                             [this](const std::string& request) {
                                                 requests.push_back(request);
                                                 if (stopsAtOnce)
                                                     this->listener->stop();
                                                 return answer;
                                             },
                                         .onFailed = [](const std::string& fault) { ADD_FAILURE() << fault; }}),
                  std::nullopt);
        EXPECT_EQ(port, 0) << "told later";
        EXPECT_TRUE(this->runUntil([&] { return port != 0; }));
        return port;
    }

    std::uint16_t port = 0;
    std::vector<std::string> requests;
    std::string answer = "HTTP/1.1 302 Found\r\n\r\n";
    bool stopsAtOnce = false;
};

using ClientWorlds = ::testing::Types<SocketClients, FakeClients>;
TYPED_TEST_SUITE(LoopbackContract, ClientWorlds);

TYPED_TEST(LoopbackContract, FirstBytesAreAnsweredAndTheConnectionEnds) {
    this->begin();
    EXPECT_EQ(this->exchange(this->port, "GET /?code=1 HTTP/1.1\r\n\r\n"), this->answer);
    this->answer.clear();
    EXPECT_EQ(this->exchange(this->port, std::string("\0\xff\x16", 3)), "") << "closed without a word";
    this->stopsAtOnce = true;
    this->answer = "bye";
    EXPECT_EQ(this->exchange(this->port, "last"), "bye") << "the answer goes out after the stop";
    EXPECT_EQ(this->requests,
              (std::vector<std::string>{"GET /?code=1 HTTP/1.1\r\n\r\n", std::string("\0\xff\x16", 3), "last"}));
    EXPECT_EQ(this->exchange(this->port, "late"), std::nullopt);
}

TYPED_TEST(LoopbackContract, StartReplacesAStartAndTheEndClosesThePort) {
    const auto first = this->begin();
    const auto second = this->begin();
    EXPECT_NE(first, second);
    EXPECT_EQ(this->exchange(first, "old"), std::nullopt);
    EXPECT_EQ(this->exchange(second, "new"), this->answer);
    this->listener->stop();
    this->listener->stop();
    EXPECT_EQ(this->exchange(second, "late"), std::nullopt);

    bool isReady = false;
    ASSERT_FALSE(this->listener->start({.onReady = [&](auto) { isReady = true; },
                                        .onRequest = [](const auto&) { return ""; },
                                        .onFailed = [](const auto&) {}}));
    this->listener->stop();
    this->begin();
    EXPECT_FALSE(isReady) << "stopped before it was told";
}

using SocketListener = LoopbackContract<SocketClients>;

TEST_F(SocketListener, ScansSlowClientsAndLongRequestsKeepNobodyWaiting) {
    begin();
    std::vector<std::unique_ptr<Caller>> silent;
    for (int i = 0; i < 40; ++i) { // more than it serves at once
        silent.push_back(std::make_unique<Caller>(port));
        const Caller scan(port);
        EXPECT_TRUE(scan.isConnected());
    }
    EXPECT_EQ(exchange(port, "GET / HTTP/1.1\r\n" + std::string(400'000, 'x')), answer) << "whatever was not read";
    ASSERT_EQ(requests.size(), 1u) << "nobody else has said anything";
    EXPECT_LE(requests[0].size(), LoopbackListener::longestRequest);
    EXPECT_TRUE(queue.runUntil([&] { return silent[0]->isClosed(); })) << "the one that is silent longest goes first";
    EXPECT_FALSE(silent[39]->isClosed());
    silent[39]->say("at last");
    EXPECT_TRUE(queue.runUntil([&] { return silent[39]->isClosed(); }));
    EXPECT_EQ(silent[39]->answer, answer);
    listener->stop();
    EXPECT_TRUE(queue.runUntil([&] { return silent[38]->isClosed(); }));
}

TEST_F(SocketListener, IsNotReachedFromOtherAddressesAndFreesItsPort) {
    begin();
    EXPECT_FALSE(Caller(port, INADDR_LOOPBACK + 1).isConnected()) << "127.0.0.2";
    listener->stop();
    EXPECT_TRUE(queue.runUntil([&] {
        const Descriptor other(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return ::bind(other.number(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }));
}

TEST_F(SocketListener, EndWithAClientInTheMiddleLosesNothing) {
    begin();
    Caller silent(port);
    Caller asking(port);
    asking.say("hello");
    background.stop();
    listener.reset();
    EXPECT_TRUE(queue.runUntil([&] { return silent.isClosed() && asking.isClosed(); }));
    EXPECT_TRUE(requests.empty());
}

} // namespace
