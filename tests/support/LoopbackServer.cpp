#include "support/LoopbackServer.h"

#include "base/Text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace fenlo::test {

namespace {

bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

bool sendMore(int socket, const WireAnswer& answer, std::stop_token stop) {
    std::string piece;
    while (answer.more && !(piece = answer.more(stop)).empty())
        if (!sendAll(socket, piece))
            return false;
    return true;
}

bool receiveMore(int socket, std::string& buffer) {
    char bytes[64 << 10];
    const ssize_t received = ::recv(socket, bytes, sizeof bytes, 0);
    if (received <= 0)
        return false;
    buffer.append(bytes, static_cast<std::size_t>(received));
    return true;
}

WireRequest parseHead(std::string_view head) {
    WireRequest request;
    const auto lines = text::split(text::replaceAll(head, "\r", ""), '\n');
    const auto start = text::split(lines.front(), ' ');
    request.method = start.front();
    request.target = start.size() > 1 ? start[1] : "";
    for (const std::string& line : lines)
        if (const std::size_t colon = line.find(": "); colon != std::string::npos)
            request.headers.emplace_back(line.substr(0, colon), line.substr(colon + 2));
    return request;
}

/// Makes closing the socket reset the connection.
void reset(int socket) {
    const linger hard{1, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
}

} // namespace

std::string WireRequest::header(std::string_view name) const {
    const auto found = std::find_if(headers.begin(), headers.end(),
                                    [&](const auto& entry) { return text::lower(entry.first) == text::lower(name); });
    return found == headers.end() ? "" : found->second;
}

WireAnswer httpAnswer(int status, std::string_view contentType, std::string_view body) {
    std::string bytes = "HTTP/1.1 " + std::to_string(status) + " Answer\r\nContent-Type: ";
    bytes.append(contentType).append("\r\nContent-Length: ").append(std::to_string(body.size()));
    return {bytes.append("\r\n\r\n").append(body), false};
}

LoopbackServer::LoopbackServer(Handler handler, std::uint16_t port, UploadFault resets)
    : m_handler(std::move(handler)), m_resets(std::move(resets)),
      m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t size = sizeof address;
    auto* plain = reinterpret_cast<sockaddr*>(&address);
    if (::bind(m_listener, plain, size) != 0 || ::listen(m_listener, 64) != 0 ||
        ::getsockname(m_listener, plain, &size) != 0) {
        ::close(m_listener);
        throw std::runtime_error("cannot listen on port " + std::to_string(port));
    }
    m_port = ntohs(address.sin_port);
    m_accepting = std::jthread([this] { accept(); });
}

LoopbackServer::~LoopbackServer() {
    ::shutdown(m_listener, SHUT_RDWR);
    m_accepting.join();
    for (std::jthread& connection : m_connections)
        connection.request_stop();
    m_open.with([](Open& open) {
        for (const int socket : open.sockets)
            ::shutdown(socket, SHUT_RDWR);
    });
    m_connections.clear();
    ::close(m_listener);
}

/// The next request; bytes beyond it stay in the buffer. Nothing when the client has gone.
std::optional<WireRequest> LoopbackServer::receive(int socket, std::string& buffer) const {
    std::size_t end = 0;
    while ((end = buffer.find("\r\n\r\n")) == std::string::npos)
        if (!receiveMore(socket, buffer))
            return {};
    WireRequest request = parseHead(std::string_view(buffer).substr(0, end));
    buffer.erase(0, end + 4);
    if (request.header("expect") == "100-continue")
        sendAll(socket, "HTTP/1.1 100 Continue\r\n\r\n");
    if (m_resets && m_resets(request)) {
        reset(socket);
        return {};
    }
    std::size_t length = 0;
    const std::string declared = request.header("content-length");
    std::from_chars(declared.data(), declared.data() + declared.size(), length);
    while (buffer.size() < length)
        if (!receiveMore(socket, buffer))
            return {};
    request.body = buffer.substr(0, length);
    buffer.erase(0, length);
    return request;
}

int LoopbackServer::connections() const {
    return m_open.with([](const Open& open) { return open.connections; });
}

int LoopbackServer::answers() const {
    return m_open.with([](const Open& open) { return open.answers; });
}

void LoopbackServer::accept() {
    for (;;) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const int number = m_open.with([&](Open& open) {
            open.sockets.push_back(socket);
            return ++open.connections;
        });
        m_connections.emplace_back([=, this](std::stop_token stop) { serve(socket, number, stop); });
    }
}

void LoopbackServer::serve(int socket, int number, std::stop_token stop) {
    std::string buffer;
    bool reused = false;
    while (auto request = receive(socket, buffer)) {
        request->connection = number;
        request->reused = std::exchange(reused, true);
        const WireAnswer answer = m_handler(*request, stop);
        if (!sendAll(socket, answer.bytes) || !sendMore(socket, answer, stop))
            break;
        m_open.with([](Open& open) { ++open.answers; });
        if (answer.closes)
            break;
    }
    m_open.with([&](Open& open) {
        open.sockets.remove(socket);
        ::close(socket);
    });
}

} // namespace fenlo::test
