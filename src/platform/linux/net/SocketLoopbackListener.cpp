#include "platform/linux/net/SocketLoopbackListener.h"

#include "base/Background.h"
#include "base/MainQueue.h"
#include "platform/linux/net/LoopbackConnection.h"

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <stop_token>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <utility>
#include <vector>

namespace fenlo {

namespace {

constexpr int waitingClients = 128; // a scan must not make the browser try again
constexpr std::size_t mostClients = 16;

std::string textOf(int error) {
    return std::strerror(error);
}

sockaddr* generic(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

} // namespace

/// One start of the listener. The main thread opens and closes it, the worker serves it.
class SocketLoopbackListener::Session : public std::enable_shared_from_this<Session> {
public:
    struct Handlers {
        std::function<void(const std::string& request, std::string& answer)> onRequest;
        std::function<void(const std::string& error)> onFailed;
    };

    Session(MainQueue& mainQueue, Handlers handlers)
        : m_mainQueue(mainQueue), m_handlers(std::move(handlers)),
          m_listening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP)),
          m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

    /// Returns an error text, or nothing.
    std::optional<std::string> open();
    std::uint16_t port() const { return m_port; }
    /// From now on nobody is let in; those who were asked are still answered.
    void close();
    void serve(std::stop_token stop);

private:
    using Connections = std::vector<std::shared_ptr<LoopbackConnection>>;

    void wait(const Connections& connections) const;
    void wake() const;
    bool admit(Connections& connections) const;
    void ask(const std::shared_ptr<LoopbackConnection>& connection, std::string request);

    MainQueue& m_mainQueue;
    const Handlers m_handlers; // bound to the start that they belong to
    const Descriptor m_listening;
    const Descriptor m_event;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_isClosed = false;
};

std::optional<std::string> SocketLoopbackListener::Session::open() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (!m_listening.isOpen() || !m_event.isOpen() || ::bind(m_listening.number(), generic(address), size) != 0 ||
        ::listen(m_listening.number(), waitingClients) != 0 ||
        ::getsockname(m_listening.number(), generic(address), &size) != 0)
        return textOf(errno);
    m_port = ntohs(address.sin_port);
    return std::nullopt;
}

/// The worker may be asleep on the socket, so that it is shut down here and closed there.
void SocketLoopbackListener::Session::close() {
    m_isClosed = true;
    ::shutdown(m_listening.number(), SHUT_RDWR);
    wake();
}

void SocketLoopbackListener::Session::wake() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(m_event.number(), &one, sizeof one);
}

void SocketLoopbackListener::Session::serve(std::stop_token stop) {
    const std::stop_callback onStop(stop, [this] { close(); });
    Connections connections;
    while (!stop.stop_requested() && !(m_isClosed && connections.empty())) {
        wait(connections);
        if (!m_isClosed && !admit(connections)) {
            const std::string error = textOf(errno);
            m_mainQueue.post([self = shared_from_this(), error] { self->m_handlers.onFailed(error); });
            close();
        }
        for (const auto& connection : connections)
            connection->step([&](std::string request) { ask(connection, std::move(request)); });
        std::erase_if(connections, [this](const auto& connection) {
            return connection->isOver() || (m_isClosed && connection->isSilent());
        });
    }
}

void SocketLoopbackListener::Session::wait(const Connections& connections) const {
    std::vector<pollfd> sources{{m_event.number(), POLLIN, 0}};
    if (!m_isClosed)
        sources.push_back({m_listening.number(), POLLIN, 0});
    int milliseconds = -1;
    for (const auto& connection : connections) {
        if (!connection->waitsForClient())
            continue;
        sources.push_back({connection->number(), POLLIN, 0});
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(connection->until() - Deadline::clock::now());
        const int limit = std::max(0, int(left.count()));
        milliseconds = milliseconds < 0 ? limit : std::min(milliseconds, limit);
    }
    ::poll(sources.data(), sources.size(), milliseconds);
    std::uint64_t count = 0;
    [[maybe_unused]] const auto read = ::read(m_event.number(), &count, sizeof count);
}

/// Lets in who waits. False with errno when the listener is of no use any more.
bool SocketLoopbackListener::Session::admit(Connections& connections) const {
    for (;;) {
        const int number = ::accept4(m_listening.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (number < 0 && (errno == EINTR || errno == ECONNABORTED))
            continue;
        if (number < 0)
            return errno == EAGAIN || m_isClosed;
        connections.push_back(std::make_shared<LoopbackConnection>(number));
        if (connections.size() <= mostClients)
            continue;
        const auto silent = std::ranges::find_if(connections, [](const auto& one) { return one->isSilent(); });
        connections.erase(silent);
    }
}

void SocketLoopbackListener::Session::ask(const std::shared_ptr<LoopbackConnection>& connection, std::string request) {
    m_mainQueue.post([self = shared_from_this(), connection, request = std::move(request)] {
        std::string answer;
        self->m_handlers.onRequest(request, answer);
        connection->give(std::move(answer));
        self->wake();
    });
}

SocketLoopbackListener::SocketLoopbackListener(MainQueue& mainQueue, Background& background)
    : m_mainQueue(mainQueue), m_background(background) {}

SocketLoopbackListener::~SocketLoopbackListener() {
    stop();
}

std::optional<std::string> SocketLoopbackListener::start(Handlers handlers) {
    stop();
    m_started.emplace();
    const auto session = std::make_shared<Session>(
        m_mainQueue, Session::Handlers{m_started->bind([onRequest = handlers.onRequest](const std::string& request,
                                                                                        std::string& answer) {
                                           answer = onRequest(request);
                                       }),
                                       m_started->bind([this, onFailed = handlers.onFailed](const std::string& error) {
                                           stop();
                                           onFailed(error);
                                       })});
    if (const auto error = session->open()) {
        m_started.reset();
        return error;
    }
    m_session = session;
    m_background.run([session](std::stop_token stop) { session->serve(stop); });
    m_mainQueue.post(m_started->bind([onReady = handlers.onReady, port = session->port()] { onReady(port); }));
    return std::nullopt;
}

void SocketLoopbackListener::stop() {
    m_started.reset();
    if (const auto session = std::exchange(m_session, nullptr))
        session->close();
}

} // namespace fenlo
