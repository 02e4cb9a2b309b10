#pragma once

#include "base/Guarded.h"

#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace fenlo::test {

/// A request as it came over the wire.
struct WireRequest {
    std::string method;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers; // in their order, names as sent
    std::string body;
    int connection = 0;  // counted from 1
    bool reused = false; // an earlier request came on the same connection

    std::string header(std::string_view name) const; // empty when there is none
};

/// The bytes to send back; `closes` ends the connection after them.
struct WireAnswer {
    std::string bytes;
    bool closes = false;
    std::function<std::string(std::stop_token)> more = {}; // called for further bytes until it gives none; may wait
};

WireAnswer httpAnswer(int status, std::string_view contentType, std::string_view body);

/// A small HTTP/1.1 server on the loopback address. It passes on every byte of a request and sends back what the
/// handler says, right or wrong.
///
/// Threads: each connection has one of its own; the handler runs there.
class LoopbackServer {
public:
    using Handler = std::function<WireAnswer(const WireRequest&, std::stop_token)>;

    /// Whether to reset the connection in the middle of the body of the request with this head.
    using UploadFault = std::function<bool(const WireRequest& head)>;

    /// Port 0 chooses a free one. Throws std::runtime_error when it cannot listen.
    explicit LoopbackServer(Handler handler, std::uint16_t port = 0, UploadFault resets = {});
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    std::uint16_t port() const { return m_port; }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port); }
    int connections() const; // so far
    int answers() const;     // sent so far

private:
    struct Open {
        int connections = 0;
        int answers = 0;
        std::list<int> sockets;
    };

    void accept();
    std::optional<WireRequest> receive(int socket, std::string& buffer) const;
    void serve(int socket, int number, std::stop_token stop);

    const Handler m_handler;
    const UploadFault m_resets;
    int m_listener = -1;
    std::uint16_t m_port = 0;
    Guarded<Open> m_open;
    std::list<std::jthread> m_connections; // of the accepting thread
    std::jthread m_accepting;
};

} // namespace fenlo::test
