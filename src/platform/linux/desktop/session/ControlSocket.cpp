#include "platform/linux/desktop/session/ControlSocket.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/LogThrown.h"
#include "platform/linux/control/LocalSocket.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace fenlo {

namespace {

constexpr double pause = 0.1; // seconds

bool isOwnUser(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

/// A client that waits for its answer; counts those that do.
class Caller {
public:
    Caller(std::shared_ptr<const Descriptor> socket, std::shared_ptr<std::atomic<std::size_t>> count)
        : m_socket(std::move(socket)), m_count(std::move(count)) {
        ++*m_count;
    }
    ~Caller() { --*m_count; }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    void say(const std::string& line) const {
        // It has room for a line; one that has gone meanwhile must not end this process by a signal.
        const std::string sent = line + "\n";
        ::send(m_socket->number(), sent.data(), sent.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }

private:
    const std::shared_ptr<const Descriptor> m_socket;
    const std::shared_ptr<std::atomic<std::size_t>> m_count;
};

} // namespace

std::unique_ptr<ControlSocket> ControlSocket::open(const std::filesystem::path& file, LineHandler onLine) {
    files::removeQuietly(file);
    LocalSocket socket(file);
    if (!socket.listen(mostWaiting)) {
        logError("Cannot open {}: {}; `fenlo trigger` will not reach this program", file.string(),
                 std::strerror(errno));
        return nullptr;
    }
    return std::unique_ptr<ControlSocket>(new ControlSocket(file, socket.release(), std::move(onLine)));
}

ControlSocket::ControlSocket(std::filesystem::path file, int listening, LineHandler onLine)
    : m_file(std::move(file)), m_listening(listening), m_ready(::epoll_create1(EPOLL_CLOEXEC)),
      m_onLine(std::move(onLine)) {
    watch(listening);
    m_thread = std::jthread([this](std::stop_token stop) { run(stop); });
}

ControlSocket::~ControlSocket() {
    m_thread.request_stop();
    m_wakeup.wake();
    m_thread.join();
    files::removeQuietly(m_file);
}

void ControlSocket::watch(int descriptor) const {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    ::epoll_ctl(m_ready.number(), EPOLL_CTL_ADD, descriptor, &event);
}

void ControlSocket::run(std::stop_token stop) {
    while (!stop.stop_requested()) {
        m_wakeup.sleep(m_ready.number(), secondsLeft());
        admit();
        hear();
    }
}

/// Until the client that came first has to be sent away; negative without clients.
double ControlSocket::secondsLeft() const {
    if (m_clients.empty())
        return -1;
    const std::chrono::duration<double> left = m_clients.front().until - Deadline::clock::now();
    return std::max(0.0, left.count());
}

void ControlSocket::admit() {
    while (true) {
        const int number = ::accept4(m_listening.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (number < 0) {
            // Without room for another open file there will be some when a client goes.
            if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
                m_wakeup.sleep(-1, pause);
            return;
        }
        auto socket = std::make_shared<const Descriptor>(number);
        if (!isOwnUser(number) || *m_answers >= mostAnswers)
            continue;
        if (m_clients.size() >= mostClients) {
            forget(m_clients.front());
            m_clients.pop_front();
        }
        watch(number);
        m_clients.push_back({std::move(socket), deadlineAfter(patience), {}});
    }
}

void ControlSocket::hear() {
    const Deadline now = Deadline::clock::now();
    m_clients.remove_if([&](Client& client) {
        const bool isOver = isDone(client) || client.until <= now;
        if (isOver)
            forget(client);
        return isOver;
    });
}

/// What a client still sends while it waits for its answer must not wake the thread.
void ControlSocket::forget(const Client& client) const {
    ::epoll_ctl(m_ready.number(), EPOLL_CTL_DEL, client.socket->number(), nullptr);
}

bool ControlSocket::isDone(Client& client) {
    std::array<char, longestLine + 1> part; // with the line's end
    const auto count = ::recv(client.socket->number(), part.data(), part.size() - client.said.size(), MSG_DONTWAIT);
    if (count < 0)
        return errno != EAGAIN && errno != EINTR;
    client.said.append(part.data(), static_cast<std::size_t>(count));
    const auto end = client.said.find('\n');
    if (end != std::string::npos)
        ask(client, client.said.substr(0, end));
    return end != std::string::npos || count == 0 || client.said.size() > longestLine;
}

void ControlSocket::ask(const Client& client, const std::string& line) {
    const auto caller = std::make_shared<const Caller>(client.socket, m_answers);
    logThrown("Control socket", [&] { m_onLine(line, [caller](const std::string& answer) { caller->say(answer); }); });
}

} // namespace fenlo
